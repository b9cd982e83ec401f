#include "platform/SystemCalls.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>

#include "platform/FaultInjection.h"

namespace corvane::platform::sys {
namespace {

template <typename Call>
auto Repeat(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// Whether an error says that this way of copying isn't for these two files.
bool OtherWayNeeded(int error) {
  return error == EXDEV || error == EINVAL || error == ENOSYS || error == EOPNOTSUPP ||
         error == EPERM || error == EBADF;
}

std::int64_t CopyThroughBuffer(int from, std::int64_t offset, int to, std::size_t size) {
  std::array<char, 65536> buffer;
  const std::size_t wanted = size < buffer.size() ? size : buffer.size();
  const ssize_t got = Repeat([&] { return pread(from, buffer.data(), wanted, offset); });
  if (got <= 0) return got;
  return Write(to, buffer.data(), static_cast<std::size_t>(got));
}

FileInfo InfoFrom(const struct statx& state) {
  FileInfo info;
  info.size = state.stx_size;
  info.lastWriteTime = state.stx_mtime.tv_sec;
  info.lastWriteNanoseconds = static_cast<std::int32_t>(state.stx_mtime.tv_nsec);
  info.creationTimeKnown = (state.stx_mask & STATX_BTIME) != 0;
  info.creationTime = info.creationTimeKnown ? state.stx_btime.tv_sec : state.stx_ctime.tv_sec;
  info.device = std::uint64_t{state.stx_dev_major} << 32 | state.stx_dev_minor;
  info.directory = S_ISDIR(state.stx_mode);
  info.readOnly = (state.stx_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
  return info;
}

}  // namespace

void Descriptor::Reset(int value) {
  if (value_ >= 0) close(value_);
  value_ = value;
}

int Open(const std::string& path, int flags) {
  const bool makes = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
  if (makes && fault::Meet(FileCall::kOpen)) return -1;
  return Repeat([&] { return open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, 0666); });
}

std::int64_t Read(int descriptor, void* buffer, std::size_t size) {
  return Repeat([&] { return read(descriptor, buffer, size); });
}

std::int64_t ReadAt(int descriptor, std::uint64_t position, void* buffer, std::size_t size) {
  return Repeat([&] { return pread(descriptor, buffer, size, static_cast<off_t>(position)); });
}

std::int64_t Write(int descriptor, const void* bytes, std::size_t size) {
  if (fault::Meet(FileCall::kWrite)) return -1;
  return Repeat([&] { return write(descriptor, bytes, size); });
}

std::int64_t Copy(int from, std::int64_t offset, int to, std::size_t size) {
  if (fault::Meet(FileCall::kCopy)) return -1;
  off_t place = offset;
  ssize_t copied = Repeat([&] { return copy_file_range(from, &place, to, nullptr, size, 0); });
  if (copied >= 0 || !OtherWayNeeded(errno)) return copied;
  place = offset;
  copied = Repeat([&] { return sendfile(to, from, &place, size); });
  if (copied >= 0 || !OtherWayNeeded(errno)) return copied;
  return CopyThroughBuffer(from, offset, to, size);
}

int Truncate(int descriptor, std::int64_t size) {
  if (fault::Meet(FileCall::kTruncate)) return -1;
  return Repeat([&] { return ftruncate(descriptor, size); });
}

int Allocate(int descriptor, std::int64_t offset, std::int64_t size) {
  if (fault::Meet(FileCall::kTruncate)) return errno;
  int error = EINTR;
  while (error == EINTR) error = posix_fallocate(descriptor, offset, size);
  return error;
}

int FlushData(int descriptor) {
  if (fault::Meet(FileCall::kFlush)) return -1;
  return Repeat([&] { return fdatasync(descriptor); });
}

int FlushDirectory(int descriptor) {
  if (fault::Meet(FileCall::kFlush)) return -1;
  return Repeat([&] { return fsync(descriptor); });
}

int Link(int descriptor, const std::string& to) {
  if (fault::Meet(FileCall::kLink)) return -1;
  // The direct way needs a capability on older kernels; what they say then is ENOENT.
  static std::atomic<bool> direct{true};
  if (direct.load(std::memory_order_relaxed)) {
    if (linkat(descriptor, "", AT_FDCWD, to.c_str(), AT_EMPTY_PATH) == 0) return 0;
    if (errno != ENOENT && errno != EPERM && errno != EINVAL) return -1;
  }
  std::array<char, 40> self;
  std::snprintf(self.data(), self.size(), "/proc/self/fd/%d", descriptor);
  if (linkat(AT_FDCWD, self.data(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW) != 0) return -1;
  direct.store(false, std::memory_order_relaxed);
  return 0;
}

int Rename(const std::string& from, const std::string& to) {
  if (fault::Meet(FileCall::kRename)) return -1;
  return rename(from.c_str(), to.c_str());
}

int RenameToNew(const std::string& from, const std::string& to) {
  if (fault::Meet(FileCall::kRename)) return -1;
  const int result = renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE);
  if (result == 0 || (errno != EINVAL && errno != ENOSYS)) return result;
  // A file system that doesn't know the flag: a second name that must be new does the same.
  if (linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), 0) != 0) return -1;
  return unlink(from.c_str());
}

int Unlink(const std::string& path) {
  if (fault::Meet(FileCall::kUnlink)) return -1;
  return unlink(path.c_str());
}

void CleanUp(const std::string& path) {
  if (!fault::Stopped()) unlink(path.c_str());
}

void CopyRights(const struct stat& from, int to) {
  struct stat own = {};
  if (fstat(to, &own) != 0) return;
  mode_t permissions = from.st_mode & 0777;
  bool kept = true;
  if (from.st_gid != own.st_gid && fchown(to, static_cast<uid_t>(-1), from.st_gid) != 0) {
    // What the old group may is not for another one, but what all may is.
    permissions = (permissions & 0707) | (permissions & 0007) << 3;
  }
  if ((own.st_mode & 0777) != permissions) kept = fchmod(to, permissions) == 0;
  if (from.st_uid != own.st_uid) kept = fchown(to, from.st_uid, static_cast<gid_t>(-1)) == 0;
  static_cast<void>(kept);
}

bool NamesDescriptor(const std::string& path, const struct stat& open) {
  struct stat named = {};
  return stat(path.c_str(), &named) == 0 && named.st_ino == open.st_ino &&
         named.st_dev == open.st_dev;
}

int Look(int directory, const char* path, FileInfo* info) {
  struct statx state = {};
  const int flags = path == nullptr ? AT_EMPTY_PATH : 0;
  const char* name = path == nullptr ? "" : path;
  if (statx(directory, name, flags, STATX_BASIC_STATS | STATX_BTIME, &state) != 0) return -1;
  *info = InfoFrom(state);
  return 0;
}

}  // namespace corvane::platform::sys
