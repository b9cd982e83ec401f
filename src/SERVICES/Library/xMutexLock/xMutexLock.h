// xMutexLock.h -- a scope lock on a system mutex that tells its failures by Exception.
#pragma once

#include <cstdint>

#include "SERVICES/Library/xMutexLock/Exception.h"
#include "SERVICES/Library/xMutexLock/Mutex.h"

namespace corvane {

// Locks in its constructor, unlocks at its end. With a null mutex nothing happens.
//
// Throws Exception when the lock times out, when the mutex was left behind by a dead owner (it is
// free again by then, and the next lock works), when it can't be locked or can't be unlocked. The
// destructor throws too, but never while another exception is under way.
class xMutexLock {
 public:
  explicit xMutexLock(platform::NamedMutex* mutex,
                      std::int64_t timeoutMilliseconds = platform::kNoTimeLimit);
  xMutexLock(const xMutexLock&) = delete;
  xMutexLock& operator=(const xMutexLock&) = delete;
  virtual ~xMutexLock() noexcept(false);

 private:
  std::int32_t state_ = 0;  // the result of the lock
  platform::NamedMutex* mutex_;
  std::int64_t timeout_;
  int exceptionsUnderWay_;
};

}  // namespace corvane
