#include "platform/File.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/Error.h"
#include "platform/PathSearch.h"
#include "platform/ShareClaim.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

bool FailWith(std::int32_t error) {
  SetLastError(error);
  return false;
}

std::nullopt_t Nothing(std::int32_t error) {
  SetLastError(error);
  return std::nullopt;
}

constexpr std::size_t kFirstReadBytes = 8192;

}  // namespace

File::~File() { Close(); }

File::File(File&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      access_(other.access_),
      share_(other.share_) {}

File& File::operator=(File&& other) noexcept {
  if (this == &other) return *this;
  Close();
  descriptor_ = std::exchange(other.descriptor_, -1);
  access_ = other.access_;
  share_ = other.share_;
  return *this;
}

bool File::Close() {
  if (!IsOpen()) return true;
  return close(std::exchange(descriptor_, -1)) == 0 || errno == EINTR || FailWithErrno();
}

std::int64_t File::Read(void* buffer, std::size_t size) {
  if (IsOpen() && access_ == Access::kWrite) return FailWith(kErrorAccessDenied) ? 0 : -1;
  const std::int64_t got = sys::Read(descriptor_, buffer, size);
  if (got < 0) FailWithErrno();
  return got;
}

bool File::Write(std::string_view bytes) {
  if (IsOpen() && access_ == Access::kRead) return FailWith(kErrorAccessDenied);
  while (!bytes.empty()) {
    const std::int64_t written = sys::Write(descriptor_, bytes.data(), bytes.size());
    if (written < 0) return FailWithErrno();
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

std::optional<std::string> File::ReadAll(std::uint64_t limit) {
  if (IsOpen() && access_ == Access::kWrite) return Nothing(kErrorAccessDenied);
  // A small file is read with one call: a file gives less than asked for at its end only.
  std::string bytes(kFirstReadBytes, '\0');
  std::size_t have = 0;
  for (;;) {
    std::int64_t got = sys::ReadAt(descriptor_, have, &bytes[have], bytes.size() - have);
    const bool stream = got < 0 && errno == ESPIPE;  // whose pieces may be short
    if (stream) got = sys::Read(descriptor_, &bytes[have], bytes.size() - have);
    if (got < 0) return Nothing(ErrorFromErrno(errno));
    have += static_cast<std::size_t>(got);
    if (have > limit) return Nothing(kErrorNotEnoughMemory);
    if (stream ? got == 0 : have < bytes.size()) break;
    if (have < bytes.size()) continue;
    struct stat state = {};
    if (fstat(descriptor_, &state) != 0) return Nothing(ErrorFromErrno(errno));
    const auto size = static_cast<std::uint64_t>(state.st_size);
    if (size > limit) return Nothing(kErrorNotEnoughMemory);
    bytes.resize(std::max<std::size_t>(size + 1, have + kFirstReadBytes));
  }
  bytes.resize(have);
  return bytes;
}

bool File::Seek(std::uint64_t position) {
  return lseek(descriptor_, static_cast<off_t>(position), SEEK_SET) >= 0 || FailWithErrno();
}

std::int64_t File::Position() const { return lseek(descriptor_, 0, SEEK_CUR); }

bool File::SetEndOfFile() {
  if (IsOpen() && access_ == Access::kRead) return FailWith(kErrorAccessDenied);
  const std::int64_t position = Position();
  return (position >= 0 && sys::Truncate(descriptor_, position) == 0) || FailWithErrno();
}

bool File::Reserve(std::uint64_t size) {
  if (IsOpen() && access_ == Access::kRead) return FailWith(kErrorAccessDenied);
  struct stat state = {};
  if (fstat(descriptor_, &state) != 0) return FailWithErrno();
  const auto end = static_cast<std::int64_t>(size);
  if (end <= state.st_size) return true;
  const std::int32_t error = sys::Allocate(descriptor_, state.st_size, end - state.st_size);
  if (error == 0) return true;
  if (sys::Truncate(descriptor_, state.st_size) != 0) return FailWithErrno();
  return FailWith(ErrorFromErrno(error));
}

bool File::Flush() { return sys::FlushData(descriptor_) == 0 || FailWithErrno(); }

std::optional<FileInfo> File::Info() const {
  FileInfo info;
  if (sys::Look(descriptor_, nullptr, &info) == 0) return info;
  FailWithErrno();
  return std::nullopt;
}

bool File::RelaxShare(Share share) {
  const bool keepsMore = (share_.read && !share.read) || (share_.write && !share.write) ||
                         (share_.remove && !share.remove);
  if (keepsMore) return FailWith(kErrorInvalidParameter);
  if (claim::IsExclusive(share)) return true;
  if (!Succeeded(claim::Relax(descriptor_, access_, share))) return false;
  share_ = share;
  return true;
}

bool File::RemoveName(std::string_view path) {
  struct stat state = {};
  if (fstat(descriptor_, &state) != 0) return FailWithErrno();
  const auto remove = [&](const std::string& at) -> std::int32_t {
    if (!sys::NamesDescriptor(at, state)) return kErrorFileNotFound;
    return sys::Unlink(at) == 0 ? 0 : ErrorFromErrno(errno);
  };
  if (claim::IsExclusive(share_)) return Succeeded(OnExistingPath(path, remove));
  const bool mayWrite = (fcntl(descriptor_, F_GETFL) & O_ACCMODE) != O_RDONLY;
  if (!Succeeded(claim::TakeDeletion(descriptor_, mayWrite))) return false;
  const std::int32_t error = OnExistingPath(path, remove);
  claim::DropDeletion(descriptor_, share_);
  return Succeeded(error);
}

}  // namespace corvane::platform
