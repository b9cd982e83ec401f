#include "SERVICES/Library/xMutexLock/xMutexLock.h"

#include <cstdio>
#include <exception>
#include <string>

#include "platform/Error.h"

namespace corvane {
namespace {

// What Exception::File says of this place, in its callers' logs.
constexpr const char* kSourceFile = R"(..\SERVICES\Library\xMutexLock)";

std::string HandleText(const void* handle) {
  char text[32];
  std::snprintf(text, sizeof(text), "%p", handle);
  return text;
}

std::string LockFailure(const void* handle, std::int32_t result) {
  const std::string mutex = HandleText(handle);
  switch (result) {
    case kMutexTimedOut:
      return "Failed to lock mutex " + mutex + ": request timed out";
    case kMutexAbandoned:
      return "Mutex " + mutex + " was abandoned by another thread";
    default:
      return "Failed to lock mutex " + mutex + " with error " +
             std::to_string(platform::LastError());
  }
}

}  // namespace

xMutexLock::xMutexLock(platform::NamedMutex* mutex, std::int64_t timeoutMilliseconds)
    : mutex_(mutex),
      timeout_(timeoutMilliseconds),
      exceptionsUnderWay_(std::uncaught_exceptions()) {
  if (mutex_ == nullptr) return;
  state_ = LockMutex(mutex_, timeout_);
  if (state_ == kMutexLocked) return;
  const std::string failure = LockFailure(mutex_, state_);
  // An object that was never made doesn't unlock at its end; nobody else would.
  if (state_ == kMutexAbandoned) (void)mutex_->Unlock();
  throw Exception(failure, kSourceFile, __LINE__);
}

xMutexLock::~xMutexLock() noexcept(false) {
  if (mutex_ == nullptr || mutex_->Unlock()) return;
  if (std::uncaught_exceptions() > exceptionsUnderWay_) return;
  throw Exception("Failed to unlock mutex " + HandleText(mutex_) + " with error " +
                      std::to_string(platform::LastError()),
                  kSourceFile, __LINE__);
}

}  // namespace corvane
