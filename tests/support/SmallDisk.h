// SmallDisk.h -- a file system of a few hundred kilobytes, so that a test can fill it or make it
// read-only. Needs the right to mount; a test without it is skipped.
#pragma once

#include <sys/mount.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>

#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {

class SmallDisk {
 public:
  // Over a directory of its own, or over `at`, whose content it hides while it lives.
  explicit SmallDisk(std::size_t bytes, std::string at = {})
      : path_(at.empty() ? directory_.Path() : std::move(at)) {
    const std::string options = "size=" + std::to_string(bytes);
    mounted_ = mount("tmpfs", path_.c_str(), "tmpfs", 0, options.c_str()) == 0;
  }
  ~SmallDisk() {
    if (mounted_) umount2(path_.c_str(), MNT_DETACH);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  [[nodiscard]] bool IsMounted() const { return mounted_; }
  [[nodiscard]] const std::string& Path() const { return path_; }
  // Takes a file of all that is left, or gives it back.
  void Fill() const { WriteBytes(Filler(), std::string(kMost, 'f')); }
  void Free() const { std::remove(Filler().c_str()); }
  [[nodiscard]] bool MakeReadOnly() const {
    return mount(nullptr, path_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
  }

 private:
  static constexpr std::size_t kMost = std::size_t{4} << 20;
  [[nodiscard]] std::string Filler() const { return path_ + "/filler"; }

  TemporaryDirectory directory_;
  std::string path_;
  bool mounted_ = false;
};

}  // namespace corvane::test
