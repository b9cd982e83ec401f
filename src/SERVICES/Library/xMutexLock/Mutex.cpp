#include "SERVICES/Library/xMutexLock/Mutex.h"

namespace corvane {
namespace {

std::unique_ptr<platform::NamedMutex> FindOrMake(const char* name) {
  if (name == nullptr) return platform::NamedMutex::CreateUnnamed();
  auto mutex = platform::NamedMutex::Open(name);
  return mutex ? std::move(mutex) : platform::NamedMutex::Create(name);
}

}  // namespace

std::int32_t LockMutex(platform::NamedMutex* handle, std::int64_t timeoutMilliseconds) {
  if (handle == nullptr) return kMutexFailed;
  switch (handle->Lock(timeoutMilliseconds)) {
    case platform::LockOutcome::kLocked:
      return kMutexLocked;
    case platform::LockOutcome::kTimedOut:
      return kMutexTimedOut;
    case platform::LockOutcome::kAbandoned:
      return kMutexAbandoned;
    case platform::LockOutcome::kFailed:
      break;
  }
  return kMutexFailed;
}

Mutex::Mutex(const char* /*label*/, const char* name) : Handle(FindOrMake(name)) {}

Mutex::~Mutex() = default;

MutexLock::MutexLock(Mutex* mutex, std::int64_t timeoutMilliseconds)
    : mutex_(mutex), timeout_(timeoutMilliseconds) {}

MutexLock::~MutexLock() {
  if (IsLocked()) (void)MutexLock::unlock();
}

std::int32_t MutexLock::lock() {
  if (IsLocked()) return state_;
  const std::int32_t result =
      LockMutex(mutex_ != nullptr ? mutex_->Handle.get() : nullptr, timeout_);
  if (result == kMutexLocked || result == kMutexAbandoned) state_ = result;
  return result;
}

std::int32_t MutexLock::unlock() {
  if (!IsLocked() || !mutex_->Handle->Unlock()) return 0;
  state_ = 0;
  return 1;
}

}  // namespace corvane
