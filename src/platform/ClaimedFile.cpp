#include "platform/ClaimedFile.h"

#include <fcntl.h>

#include <cerrno>

#include "platform/Error.h"
#include "platform/ShareClaim.h"

namespace corvane::platform {
namespace {

// How often a path may change under an opener before that counts as held by others.
constexpr int kRounds = 100;

bool IsRefusedWriting(int systemError) {
  return systemError == EACCES || systemError == EPERM || systemError == EROFS ||
         systemError == ETXTBSY;
}

// Opens `path` with `flags`, for reading alone where that will do and no more is allowed.
std::int32_t OpenAs(const std::string& path, int flags, bool readingWillDo, ClaimedFile* file) {
  file->descriptor.Reset(sys::Open(path, flags));
  if (!file->descriptor.IsOpen() && readingWillDo && IsRefusedWriting(errno)) {
    flags = O_RDONLY;
    file->descriptor.Reset(sys::Open(path, flags));
  }
  file->mayWrite = (flags & O_RDWR) != 0;
  return file->descriptor.IsOpen() ? 0 : ErrorFromErrno(errno);
}

template <typename Claim>
std::int32_t OpenWith(const std::string& path, int flags, bool readingWillDo, Claim claim,
                      ClaimedFile* file) {
  for (int round = 0; round < kRounds; ++round) {
    std::int32_t error = OpenAs(path, flags, readingWillDo, file);
    if (error == 0) error = claim(*file);
    if (error == 0 && fstat(file->descriptor.Get(), &file->state) != 0) {
      error = ErrorFromErrno(errno);
    }
    if (error == 0 && S_ISDIR(file->state.st_mode)) error = kErrorAccessDenied;
    if (error == 0 && sys::NamesDescriptor(path, file->state)) return 0;
    file->descriptor.Reset();
    if (error != 0) return error;
  }
  return kErrorSharingViolation;
}

}  // namespace

std::int32_t OpenClaimed(const std::string& path, const ClaimRequest& request, ClaimedFile* file) {
  const bool reading = request.access == Access::kRead && !request.make;
  // An exclusive lock needs a descriptor that may write.
  const bool readOnly = reading && !claim::IsExclusive(request.share);
  const int flags = (readOnly ? O_RDONLY : O_RDWR) | (request.make ? O_CREAT : 0);
  const auto claim = [&](const ClaimedFile& opened) {
    return claim::Take(opened.descriptor.Get(), request.access, request.share, opened.mayWrite);
  };
  return OpenWith(path, flags, reading, claim, file);
}

std::int32_t OpenForDeletion(const std::string& path, ClaimedFile* file) {
  const auto claim = [](const ClaimedFile& opened) {
    return claim::TakeDeletion(opened.descriptor.Get(), opened.mayWrite);
  };
  return OpenWith(path, O_RDWR, true, claim, file);
}

}  // namespace corvane::platform
