// FileSystemFlush.cpp -- one flush for everything that a file system holds.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>

#include "platform/Error.h"
#include "platform/FaultInjection.h"
#include "platform/FileSystem.h"
#include "platform/PathSearch.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

std::int32_t FlushOnce(const std::string& path, std::set<dev_t>* flushed) {
  const sys::Descriptor descriptor(sys::Open(path, O_RDONLY));
  struct stat state = {};
  if (!descriptor.IsOpen() || fstat(descriptor.Get(), &state) != 0) return ErrorFromErrno(errno);
  if (!flushed->insert(state.st_dev).second) return 0;
  if (fault::Meet(FileCall::kFlush) || syncfs(descriptor.Get()) != 0) return ErrorFromErrno(errno);
  return 0;
}

// The file keeps its own mark of a failed write, whoever made it write.
std::int32_t AskForFailure(const std::string& path) {
  const sys::Descriptor descriptor(sys::Open(path, O_RDONLY));
  if (!descriptor.IsOpen()) return ErrorFromErrno(errno);
  if (sync_file_range(descriptor.Get(), 0, 0, SYNC_FILE_RANGE_WAIT_BEFORE) == 0) return 0;
  const bool hasRanges = errno != ENOSYS && errno != EINVAL && errno != ESPIPE;
  return hasRanges ? ErrorFromErrno(errno) : 0;
}

}  // namespace

bool DataIsWritten(std::string_view path) { return Succeeded(OnExistingPath(path, AskForFailure)); }

bool FlushFileSystems(const std::vector<std::string>& directories) {
  std::set<dev_t> flushed;
  for (const std::string& directory : directories) {
    const auto flush = [&](const std::string& at) { return FlushOnce(at, &flushed); };
    if (!Succeeded(OnExistingPath(directory, flush))) return false;
  }
  return true;
}

}  // namespace corvane::platform
