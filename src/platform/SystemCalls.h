// SystemCalls.h -- the system calls of the file layer, each with the place where a test can break
// it. Inside the layer only.
//
// Like the calls themselves they return -1 and leave errno. Interrupted calls are made again.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "platform/File.h"

namespace corvane::platform::sys {

// Owns a descriptor.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int value) : value_(value) {}
  ~Descriptor() { Reset(); }
  Descriptor(Descriptor&& other) noexcept : value_(other.Release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) Reset(other.Release());
    return *this;
  }
  [[nodiscard]] int Get() const { return value_; }
  [[nodiscard]] bool IsOpen() const { return value_ >= 0; }
  int Release() { return std::exchange(value_, -1); }
  void Reset(int value = -1);

 private:
  int value_ = -1;
};

// O_CLOEXEC and O_NOCTTY are added. Counted as a changing call when it may make a file.
[[nodiscard]] int Open(const std::string& path, int flags);
[[nodiscard]] std::int64_t Read(int descriptor, void* buffer, std::size_t size);
[[nodiscard]] std::int64_t ReadAt(int descriptor, std::uint64_t position, void* buffer,
                                  std::size_t size);
[[nodiscard]] std::int64_t Write(int descriptor, const void* bytes, std::size_t size);
// Copies up to `size` bytes from `offset` of one file to the position of another, in the kernel
// where it can. 0 at the end of the source.
[[nodiscard]] std::int64_t Copy(int from, std::int64_t offset, int to, std::size_t size);
[[nodiscard]] int Truncate(int descriptor, std::int64_t size);
// Gives a file `size` bytes of room from `offset` on, zeros where there was nothing. The errno, or
// 0. Counted as a truncation.
[[nodiscard]] int Allocate(int descriptor, std::int64_t offset, std::int64_t size);
// The data of a file; everything of a directory.
[[nodiscard]] int FlushData(int descriptor);
[[nodiscard]] int FlushDirectory(int descriptor);
// Gives an open file, which may have none so far, a name.
[[nodiscard]] int Link(int descriptor, const std::string& to);
[[nodiscard]] int Rename(const std::string& from, const std::string& to);
// EEXIST when `to` is there.
[[nodiscard]] int RenameToNew(const std::string& from, const std::string& to);
[[nodiscard]] int Unlink(const std::string& path);
// Removes a leftover on the way out of a failure: nothing is reported, nothing is counted.
void CleanUp(const std::string& path);

// Gives an open file the owner, group and permissions of another, as far as the process may.
void CopyRights(const struct stat& from, int to);

// Whether `path` names the file that is open as `descriptor`.
[[nodiscard]] bool NamesDescriptor(const std::string& path, const struct stat& open);

// The state of a file with its creation time; -1 and errno on failure. A null `path` looks at the
// descriptor itself.
[[nodiscard]] int Look(int directory, const char* path, FileInfo* info);

}  // namespace corvane::platform::sys
