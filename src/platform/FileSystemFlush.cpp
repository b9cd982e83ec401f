// FileSystemFlush.cpp -- one flush for everything that a file system holds.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/Error.h"
#include "platform/FaultInjection.h"
#include "platform/FileSystem.h"
#include "platform/PathSearch.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {

bool FlushFileSystem(std::string_view path) {
  return Succeeded(OnExistingPath(path, [](const std::string& at) {
    const sys::Descriptor descriptor(sys::Open(at, O_RDONLY));
    if (!descriptor.IsOpen()) return ErrorFromErrno(errno);
    if (fault::Meet(FileCall::kFlush)) return ErrorFromErrno(errno);
    return syncfs(descriptor.Get()) == 0 ? 0 : ErrorFromErrno(errno);
  }));
}

}  // namespace corvane::platform
