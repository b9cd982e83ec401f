#include "platform/DirectoryFlush.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/Error.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {

std::int32_t FlushSystemDirectory(const std::string& path) {
  const sys::Descriptor directory(sys::Open(path, O_RDONLY | O_DIRECTORY));
  if (!directory.IsOpen()) return ErrorFromErrno(errno);
  // EINVAL: a file system that has nothing to flush here.
  const bool done = sys::FlushDirectory(directory.Get()) == 0 || errno == EINVAL;
  return done ? 0 : ErrorFromErrno(errno);
}

}  // namespace corvane::platform
