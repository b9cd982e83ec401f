#include "platform/DirectoryWatch.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#include "platform/Error.h"
#include "platform/Path.h"

namespace corvane::platform {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
// File systems stamp with the clock of the last tick, 10 ms apart at most.
constexpr std::int64_t kTickNanoseconds = 20'000'000;
constexpr std::uint32_t kWatchedEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                         IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF |
                                         IN_ONLYDIR | IN_EXCL_UNLINK;

std::int64_t Nanoseconds(const timespec& time) {
  return time.tv_sec * kNanosecondsPerSecond + time.tv_nsec;
}

bool LookAtPath(std::string_view path, struct stat* state) {
  return stat(SystemPath(path).c_str(), state) == 0 || FailWithErrno();
}

DirectoryStamp StampOf(const struct stat& state) {
  return {state.st_dev, state.st_ino, Nanoseconds(state.st_mtim), Nanoseconds(state.st_ctim)};
}

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};
using OpenDirectory = std::unique_ptr<DIR, CloseDirectory>;

// A link counts as the file that it leads to; one that leads to a directory counts as nothing.
std::optional<DirectoryName> LookAt(int directory, const char* name) {
  struct stat state {};
  if (fstatat(directory, name, &state, AT_SYMLINK_NOFOLLOW) != 0) {
    FailWithErrno();
    return std::nullopt;
  }
  if (S_ISLNK(state.st_mode)) {
    if (fstatat(directory, name, &state, 0) != 0 || S_ISDIR(state.st_mode)) return std::nullopt;
  }
  if (S_ISDIR(state.st_mode)) return DirectoryName{name, true, 0};
  if (!S_ISREG(state.st_mode)) return std::nullopt;
  return DirectoryName{name, false, static_cast<std::uint64_t>(state.st_size)};
}

// Others may change a directory of these without a sign to this machine.
bool IsSharedFileSystem(const char* path) {
  struct statfs state {};
  if (statfs(path, &state) != 0) return true;
  constexpr long kShared[] = {
      NFS_SUPER_MAGIC,  SMB_SUPER_MAGIC,  CIFS_SUPER_MAGIC,      SMB2_SUPER_MAGIC,
      V9FS_MAGIC,       FUSE_SUPER_MAGIC, OCFS2_SUPER_MAGIC,     AFS_SUPER_MAGIC,
      CEPH_SUPER_MAGIC, CODA_SUPER_MAGIC, 0x01161970 /* GFS2 */, 0x0BD00BD0 /* Lustre */,
      0x47504653 /* GPFS */};
  for (const long magic : kShared) {
    if (static_cast<std::uint32_t>(state.f_type) == static_cast<std::uint32_t>(magic)) return true;
  }
  return false;
}

DirectoryEvent Translate(const inotify_event& event, const char* name) {
  DirectoryEvent translated;
  translated.watch = event.wd;
  if ((event.mask & IN_Q_OVERFLOW) != 0) {
    translated.kind = DirectoryEvent::Kind::kOverflow;
  } else if ((event.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED)) != 0) {
    translated.kind = DirectoryEvent::Kind::kGone;
  } else if (event.len > 0) {
    translated.name = name;
    translated.isDirectory = (event.mask & IN_ISDIR) != 0;
  }
  return translated;
}

}  // namespace

std::optional<DirectoryStamp> ReadDirectoryStamp(std::string_view path) {
  struct stat state {};
  if (!LookAtPath(path, &state)) return std::nullopt;
  if (!S_ISDIR(state.st_mode)) {
    SetLastError(kErrorPathNotFound);
    return std::nullopt;
  }
  return StampOf(state);
}

std::optional<FileStamp> ReadFileStamp(std::string_view path) {
  struct stat state {};
  if (!LookAtPath(path, &state)) return std::nullopt;
  return FileStamp{StampOf(state), static_cast<std::uint64_t>(state.st_size)};
}

bool IsSettled(const DirectoryStamp& stamp) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const std::int64_t age = Nanoseconds(now) - std::max(stamp.modified, stamp.changed);
  return age > kTickNanoseconds;
}

bool ListDirectory(std::string_view path, const std::function<void(const DirectoryName&)>& visit,
                   const KnownSize& known) {
  const OpenDirectory directory(opendir(SystemPath(path).c_str()));
  if (!directory) return FailWithErrno();
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(directory.get());
    if (entry == nullptr) return errno == 0 || FailWithErrno();
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    const bool mayBeKnown = known && entry->d_type == DT_REG;
    const auto size = mayBeKnown ? known(name) : std::nullopt;
    if (entry->d_type == DT_DIR) {
      visit(DirectoryName{name, true, 0});
    } else if (size) {
      visit(DirectoryName{name, false, *size});
    } else if (const auto found = LookAt(dirfd(directory.get()), entry->d_name)) {
      visit(*found);
    }
  }
}

std::optional<DirectoryName> LookAtName(std::string_view path, std::string_view name) {
  auto found = LookAt(AT_FDCWD, (SystemPath(path) + "/" + std::string(name)).c_str());
  if (found) found->name = name;
  return found;
}

DirectoryWatch::DirectoryWatch() : descriptor_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

DirectoryWatch::~DirectoryWatch() {
  if (descriptor_ >= 0) close(descriptor_);
}

int DirectoryWatch::Add(std::string_view path) {
  const std::string systemPath = SystemPath(path);
  if (descriptor_ < 0 || IsSharedFileSystem(systemPath.c_str())) return -1;
  const int watch = inotify_add_watch(descriptor_, systemPath.c_str(), kWatchedEvents);
  if (watch < 0) FailWithErrno();
  return watch;
}

void DirectoryWatch::Remove(int watch) {
  if (descriptor_ >= 0 && watch >= 0) inotify_rm_watch(descriptor_, watch);
}

void DirectoryWatch::Drain(const std::function<void(const DirectoryEvent&)>& handle) {
  if (descriptor_ < 0) return;
  alignas(inotify_event) char buffer[16384];
  for (;;) {
    const ssize_t length = read(descriptor_, buffer, sizeof buffer);
    if (length < 0 && errno == EINTR) continue;
    if (length <= 0) return;
    for (ssize_t at = 0; at < length;) {
      inotify_event event{};
      std::memcpy(&event, buffer + at, sizeof event);
      handle(Translate(event, buffer + at + sizeof event));
      at += static_cast<ssize_t>(sizeof event + event.len);
    }
  }
}

}  // namespace corvane::platform
