// SmallDisk.h -- a file system of a few hundred kilobytes, so that a test can fill it. Needs the
// right to mount; a test without it is skipped.
#pragma once

#include <sys/mount.h>

#include <string>

#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {

class SmallDisk {
 public:
  explicit SmallDisk(std::size_t bytes) {
    std::string options = "size=" + std::to_string(bytes);
    mounted_ = mount("tmpfs", Path().c_str(), "tmpfs", 0, options.c_str()) == 0;
  }
  ~SmallDisk() {
    if (mounted_) umount2(Path().c_str(), MNT_DETACH);
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  [[nodiscard]] bool IsMounted() const { return mounted_; }
  [[nodiscard]] const std::string& Path() const { return directory_.Path(); }

 private:
  TemporaryDirectory directory_;
  bool mounted_ = false;
};

}  // namespace corvane::test
