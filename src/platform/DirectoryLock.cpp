#include "platform/DirectoryLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/PathSearch.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

constexpr int kMostTries = 1000;
constexpr std::int64_t kPauseMilliseconds = 1;

// A holder that was stopped in its work must not stop everybody else.
int Lock(int descriptor) {
  for (int tries = 1;; ++tries) {
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) return 0;
    if ((errno != EWOULDBLOCK && errno != EINTR) || tries == kMostTries) return -1;
    SleepFor(kPauseMilliseconds);
  }
}

}  // namespace

DirectoryLock::DirectoryLock(std::string_view path) {
  static_cast<void>(Succeeded(OnExistingPath(path, [this](const std::string& at) {
    sys::Descriptor directory(sys::Open(at, O_RDONLY | O_DIRECTORY));
    if (!directory.IsOpen() || Lock(directory.Get()) != 0) return ErrorFromErrno(errno);
    descriptor_ = directory.Release();
    return kErrorNone;
  })));
}

DirectoryLock::~DirectoryLock() {
  if (IsHeld()) close(descriptor_);
}

}  // namespace corvane::platform
