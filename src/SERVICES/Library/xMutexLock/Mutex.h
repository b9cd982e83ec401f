// Mutex.h -- mutexes of the whole system by their names, and the ways to lock them.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/NamedMutex.h"

namespace corvane {

// The results of LockMutex.
inline constexpr std::int32_t kMutexFailed = 0;  // any other failure, or a null handle
inline constexpr std::int32_t kMutexLocked = 1;  // held by the calling thread now
inline constexpr std::int32_t kMutexTimedOut = 2;
inline constexpr std::int32_t kMutexAbandoned = 3;  // held now, after its last owner died with it

// The timeout is in milliseconds, platform::kNoTimeLimit for none. A thread that holds the mutex
// locks it again; each lock wants its unlock.
[[nodiscard]] std::int32_t LockMutex(platform::NamedMutex* handle,
                                     std::int64_t timeoutMilliseconds);

// A handle on a system-wide mutex: found by its name, or made when there is none.
class Mutex {
 public:
  // `label` isn't used. A null `name` gives a mutex without a name. Handle is null when the system
  // has none to give; locking does nothing then.
  Mutex(const char* label, const char* name);
  virtual ~Mutex();
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  const std::unique_ptr<platform::NamedMutex> Handle;
};

// A lock that is taken and given back by hand.
//
//   lock    LockMutex's result; a lock that is held already is left at that
//   unlock  1 given back, 0 not held or not to be given back
template <typename MutexPointer>
class IMutexLock {
 public:
  virtual std::int32_t lock() = 0;
  virtual std::int32_t unlock() = 0;
  virtual ~IMutexLock() = default;
};

// Doesn't lock by itself; unlocks at its end what it still holds.
class MutexLock : public IMutexLock<Mutex*> {
 public:
  explicit MutexLock(Mutex* mutex, std::int64_t timeoutMilliseconds = platform::kNoTimeLimit);
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  std::int32_t lock() override;
  std::int32_t unlock() override;
  ~MutexLock() override;

  [[nodiscard]] bool IsLocked() const { return state_ != 0; }

 private:
  Mutex* mutex_;
  std::int64_t timeout_;
  std::int32_t state_ = 0;  // the result of the lock held; 0 for none
};

}  // namespace corvane
