#include "platform/SharedMutexFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/Error.h"
#include "platform/Path.h"
#include "platform/SettingsStore.h"

namespace corvane::platform {

struct SharedMutexFile::Content {
  pthread_mutex_t mutex;
  std::atomic<std::uint64_t> ready;  // kReady once the mutex can be used
};

namespace {

constexpr const char* kSharedDirectory = "/dev/shm";
constexpr const char* kFallbackDirectory = "/tmp";
constexpr std::uint64_t kReady = 0x31584554554D5643;  // "CVMUTEX1"
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

enum class LockResult : std::uint8_t { kLocked, kHeld, kFailed };

// F_WRLCK at once or not at all, F_RDLCK with a wait for the moment in which somebody makes the
// mutex. Turning one into the other leaves no gap. kFailed, with errno, where the system has no
// lock to give.
LockResult LockFile(int descriptor, short type) {
  struct flock request {};
  request.l_type = type;
  request.l_whence = SEEK_SET;
  request.l_len = 1;
  int result = 0;
  do {
    result = fcntl(descriptor, type == F_RDLCK ? F_OFD_SETLKW : F_OFD_SETLK, &request);
  } while (result != 0 && errno == EINTR);
  if (result == 0) return LockResult::kLocked;
  return errno == EAGAIN || errno == EACCES ? LockResult::kHeld : LockResult::kFailed;
}

// Whether the caller is alone with the file: the second attempt is for the case that the first met
// somebody who was only looking.
LockResult LockAlone(int descriptor) {
  const LockResult first = LockFile(descriptor, F_WRLCK);
  if (first != LockResult::kHeld) return first;
  const LockResult shared = LockFile(descriptor, F_RDLCK);
  return shared == LockResult::kLocked ? LockFile(descriptor, F_WRLCK) : shared;
}

bool HasName(int descriptor, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

// A file of that name that isn't one of ours would be a mapping that kills its reader.
bool HasSize(int descriptor, std::size_t size) {
  struct stat information {};
  return fstat(descriptor, &information) == 0 && S_ISREG(information.st_mode) &&
         information.st_size == static_cast<off_t>(size);
}

std::uint64_t Hash(std::string_view text, std::uint64_t hash) {
  for (const char c : text) hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3;
  return hash;
}

// Whether the file belongs to this user or to the superuser: another one's could be held or spoilt
// by him at will.
bool IsOurs(int descriptor) {
  struct stat state = {};
  return fstat(descriptor, &state) == 0 && (state.st_uid == geteuid() || state.st_uid == 0);
}

// An empty file of that name with nothing ready in it, for this user alone. True also when somebody
// else has made one meanwhile.
bool MakeFile(const std::string& path, std::size_t size) {
  const std::string temporary =
      path + "." + std::to_string(getpid()) + "." + std::to_string(gettid());
  unlink(temporary.c_str());
  const int descriptor =
      open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (descriptor < 0) return FailWithErrno();
  const bool made = ftruncate(descriptor, static_cast<off_t>(size)) == 0 &&
                    (link(temporary.c_str(), path.c_str()) == 0 || errno == EEXIST);
  if (!made) FailWithErrno();
  close(descriptor);
  unlink(temporary.c_str());
  return made;
}

}  // namespace

std::string SharedMutexFile::PathOf(std::string_view name) {
  std::error_code ignored;
  const std::string store =
      std::filesystem::weakly_canonical(SystemPath(SettingsStore::DefaultPath()), ignored).string();
  const std::string_view parts[] = {store, std::string_view("\0", 1), name};
  std::uint64_t first = 0xCBF29CE484222325;
  std::uint64_t second = 0x9E3779B97F4A7C15;
  for (const std::string_view part : parts) {
    first = Hash(part, first);
    second = Hash(part, second);
  }
  char file[64];
  std::snprintf(file, sizeof(file), "/corvane-mutex-%016llx%016llx",
                static_cast<unsigned long long>(first), static_cast<unsigned long long>(second));
  const bool shared = access(kSharedDirectory, W_OK | X_OK) == 0;
  return std::string(shared ? kSharedDirectory : kFallbackDirectory) + file;
}

std::unique_ptr<SharedMutexFile> SharedMutexFile::Enter(const std::string& path, bool create) {
  std::unique_ptr<SharedMutexFile> file(new SharedMutexFile(path));
  if (path.empty()) return file->Map() && file->Initialise() ? std::move(file) : nullptr;
  Step step = Step::kTryAgain;
  while (step == Step::kTryAgain) step = file->TryToEnter(create);
  return step == Step::kEntered ? std::move(file) : nullptr;
}

SharedMutexFile::~SharedMutexFile() {
  Unmap();
  if (descriptor_ < 0) return;
  const bool alone = LockFile(descriptor_, F_WRLCK) == LockResult::kLocked;
  if (alone && HasName(descriptor_, path_)) unlink(path_.c_str());
  CloseFile();
}

pthread_mutex_t* SharedMutexFile::Mutex() const { return &content_->mutex; }

SharedMutexFile::Step SharedMutexFile::TryToEnter(bool create) {
  CloseFile();
  descriptor_ = open(path_.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
  if (descriptor_ < 0) {
    const bool make = errno == ENOENT && create;
    if (!make) FailWithErrno();
    return make && MakeFile(path_, sizeof(Content)) ? Step::kTryAgain : Step::kFailed;
  }
  const LockResult locked = LockAlone(descriptor_);
  if (locked == LockResult::kFailed) {
    FailWithErrno();
    return Step::kFailed;
  }
  const bool alone = locked == LockResult::kLocked;
  if (!HasName(descriptor_, path_)) return Step::kTryAgain;
  if (alone && !create) {
    SetLastError(kErrorFileNotFound);
    return Step::kFailed;
  }
  return Use(alone);
}

SharedMutexFile::Step SharedMutexFile::Use(bool alone) {
  if (!IsOurs(descriptor_) || !HasSize(descriptor_, sizeof(Content))) {
    SetLastError(kErrorAccessDenied);
    return Step::kFailed;
  }
  if (!Map()) return Step::kFailed;
  if (alone) {
    if (!Initialise()) return Step::kFailed;
    if (LockFile(descriptor_, F_RDLCK) == LockResult::kLocked) return Step::kEntered;
    FailWithErrno();
    return Step::kFailed;
  }
  if (content_->ready.load(std::memory_order_acquire) == kReady) return Step::kEntered;
  // Its maker died at work.
  Unmap();
  return Step::kTryAgain;
}

bool SharedMutexFile::Map() {
  const int flags = descriptor_ >= 0 ? MAP_SHARED : MAP_PRIVATE | MAP_ANONYMOUS;
  void* memory = mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE, flags, descriptor_, 0);
  if (memory == MAP_FAILED) return FailWithErrno();
  content_ = static_cast<Content*>(memory);
  return true;
}

void SharedMutexFile::Unmap() {
  if (content_ != nullptr) munmap(std::exchange(content_, nullptr), sizeof(Content));
}

bool SharedMutexFile::Initialise() {
  content_->ready.store(0, std::memory_order_release);
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  if (descriptor_ >= 0) pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  const int result = pthread_mutex_init(&content_->mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  if (result == 0) {
    content_->ready.store(kReady, std::memory_order_release);
  } else {
    SetLastError(ErrorFromErrno(result));
  }
  return result == 0;
}

void SharedMutexFile::CloseFile() {
  if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
}

}  // namespace corvane::platform
