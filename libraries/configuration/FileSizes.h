// FileSizes.h -- the sizes of a folder's files by their names, 16 bytes a file.
//
// Names are kept as 64-bit hashes: two names with one hash among a folder's files would be counted
// as one until the folder is next listed, and nothing else.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace corvane::configuration {

class FileSizes {
 public:
  // Sets a file's size; returns the size that it had, 0 for a new one.
  std::uint64_t Set(std::string_view name, std::uint64_t size);
  [[nodiscard]] std::optional<std::uint64_t> SizeOf(std::string_view name) const;
  // Forgets a file; returns the size that it had, 0 when it wasn't there.
  std::uint64_t Erase(std::string_view name);
  void Clear();

  [[nodiscard]] std::size_t Count() const { return count_; }
  [[nodiscard]] std::size_t MemoryBytes() const { return slots_.capacity() * sizeof(Slot); }

 private:
  struct Slot {
    std::uint64_t key = 0;  // 0 is a free slot
    std::uint64_t size = 0;
  };

  [[nodiscard]] std::size_t Find(std::uint64_t key) const;
  void Grow();

  std::vector<Slot> slots_;  // a power of two, or none
  std::size_t count_ = 0;
};

}  // namespace corvane::configuration
