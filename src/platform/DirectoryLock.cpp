#include "platform/DirectoryLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/Error.h"
#include "platform/PathSearch.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

int Lock(int descriptor) {
  int result = 0;
  do {
    result = flock(descriptor, LOCK_EX);
  } while (result != 0 && errno == EINTR);
  return result;
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
