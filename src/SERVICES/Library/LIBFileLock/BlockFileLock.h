// BlockFileLock.h -- a block file held for a scope.
//
//   BlockFileLock lock;
//   lock.Acquire(folder, "_activity.blk", true, 0, 100);
//   if (!lock.IsHeld()) return;
//
// Belongs to one thread.
#pragma once

#include <cstdint>
#include <string>

#include "platform/File.h"

namespace corvane {

class BlockFileLock {
 public:
  BlockFileLock() = default;
  // Takes the lock of the file `path` (BlockFile.h). The short form never gives up where a lock can
  // be forced, and forces it after 100 seconds.
  BlockFileLock(const std::string& path, bool keepHandle);
  BlockFileLock(const std::string& path, bool keepHandle, std::int32_t retryPastThreshold,
                std::int32_t thresholdSeconds);
  // Gives it back.
  virtual ~BlockFileLock();
  BlockFileLock(const BlockFileLock&) = delete;
  BlockFileLock& operator=(const BlockFileLock&) = delete;

  // Takes the lock of `<directory>\<name>`, making the directory if needed; gives back what it held
  // before.
  void Acquire(const std::string& directory, const std::string& name, bool keepHandle,
               std::int32_t retryPastThreshold, std::int32_t thresholdSeconds);

  [[nodiscard]] bool IsHeld() const { return State > 0; }
  [[nodiscard]] bool HasGivenUp() const { return State == -1; }

  std::int32_t State = 0;  // above 0 held, 0 not held, -1 given up, 2 not given back cleanly
  platform::File Handle;   // the block file, when it is kept open
  char Path[1024] = {};

 private:
  void Take(const std::string& path, bool keepHandle, std::int32_t retryPastThreshold,
            std::int32_t thresholdSeconds);
  void Release();
};

}  // namespace corvane
