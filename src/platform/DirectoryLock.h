// DirectoryLock.h -- one at a time among those who work on the names of a directory.
//
// A lock on the directory itself, so that nothing has to lie in it. It keeps off other holders of
// this lock, threads and processes, and nobody else; it ends with its object or the process. Some
// network file systems have none to give, and nobody waits for ever: who needs more than order
// there must look again.
#pragma once

#include <string_view>

namespace corvane::platform {

class DirectoryLock {
 public:
  // Waits for the holder, whose work is to be short, up to a second. Not held when there is no such
  // directory (2, 3), it can't be read (5), none is to be had in that time or the file system has
  // no such lock.
  explicit DirectoryLock(std::string_view path);
  ~DirectoryLock();
  DirectoryLock(const DirectoryLock&) = delete;
  DirectoryLock& operator=(const DirectoryLock&) = delete;

  [[nodiscard]] bool IsHeld() const { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

}  // namespace corvane::platform
