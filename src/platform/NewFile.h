// NewFile.h -- a file that nobody sees yet, and the ways to give it its name. Inside the layer
// only.
//
// It has no name at all where the file system can do that, else the name "_<name>.tmp" beside its
// target, locked against another writer of the same target. Dropped at its end unless it was
// placed. Paths are system paths in the spelling that is on disk; results are error numbers, 0 for
// success.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "platform/SystemCalls.h"

namespace corvane::platform {

class NewFile {
 public:
  NewFile() = default;
  ~NewFile() { Drop(); }
  NewFile(NewFile&& other) noexcept
      : descriptor_(std::move(other.descriptor_)),
        target_(std::move(other.target_)),
        temporary_(std::exchange(other.temporary_, {})) {}
  NewFile& operator=(NewFile&& other) noexcept;

  // Begins a file that is to stand at `target`. 2 when the directory is missing, 5, 19, 32 (a
  // writer of the same target on a file system without nameless files), 112 ...
  [[nodiscard]] static std::int32_t Make(const std::string& target, NewFile* file);

  [[nodiscard]] int Get() const { return descriptor_.Get(); }
  [[nodiscard]] const std::string& Target() const { return target_; }

  // Gives it its name, which must be free: 80.
  [[nodiscard]] std::int32_t PlaceNew();
  // Puts it over the file that has the name, whose state is `old`, and whose owner and permissions
  // it takes over as far as it may. The caller holds that one for deletion.
  [[nodiscard]] std::int32_t PlaceOver(const struct stat& old);
  // Takes the name whether it is free or not; 32 while somebody holds its file against deletion, 5
  // where that file may not be written to.
  [[nodiscard]] std::int32_t Place();

  // The descriptor, for whoever goes on with the placed file.
  [[nodiscard]] int Release() { return descriptor_.Release(); }

 private:
  void Drop();

  sys::Descriptor descriptor_;
  std::string target_;
  std::string temporary_;  // the name it has until it is placed, or empty
};

// The name beside `target` under which a file waits for its place.
[[nodiscard]] std::string TemporaryName(const std::string& target);

// For tests: whether nameless files are used where the file system has them.
void UseNamelessFiles(bool use);

}  // namespace corvane::platform
