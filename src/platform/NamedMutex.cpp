// NamedMutex.cpp -- robust pthread mutexes in files of shared memory.
//
// A name has one file below /dev/shm, called after a hash of the name and of the settings store in
// use, so that the programs of one installation meet and those of two don't. It lives as long as
// somebody uses it: each user holds a shared lock on the file (an open-file-description lock, so
// two handles of one process count twice), and whoever can turn it into an exclusive one is alone:
// on the way in that means a mutex left over by processes that died, which is made anew, and on the
// way out that the file can go. A user checks that the file still has its name once the lock is
// held.
#include "platform/NamedMutex.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Error.h"
#include "platform/Path.h"
#include "platform/SettingsStore.h"

namespace corvane::platform {
namespace {

constexpr const char* kSharedDirectory = "/dev/shm";
constexpr const char* kFallbackDirectory = "/tmp";
constexpr std::uint64_t kReady = 0x31584554554D5643;  // "CVMUTEX1"

struct SharedMutex {
  pthread_mutex_t mutex;
  std::atomic<std::uint64_t> ready;  // kReady once the mutex can be used
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

class Descriptor {
 public:
  explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
  ~Descriptor() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  [[nodiscard]] int Get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }

 private:
  int descriptor_;
};

// F_WRLCK at once or not at all, F_RDLCK with a wait for the moment in which somebody makes the
// mutex. Turning one into the other leaves no gap.
bool LockFile(int descriptor, short type) {
  struct flock request {};
  request.l_type = type;
  request.l_whence = SEEK_SET;
  request.l_len = 1;
  int result = 0;
  do {
    result = fcntl(descriptor, type == F_RDLCK ? F_OFD_SETLKW : F_OFD_SETLK, &request);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

bool HasName(int descriptor, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return fstat(descriptor, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
         opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

bool InitialiseMutex(SharedMutex* shared, bool betweenProcesses) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  if (betweenProcesses) pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  const int result = pthread_mutex_init(&shared->mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  if (result == 0) shared->ready.store(kReady, std::memory_order_release);
  return result == 0;
}

SharedMutex* Map(int descriptor) {
  const int flags = descriptor >= 0 ? MAP_SHARED : MAP_PRIVATE | MAP_ANONYMOUS;
  void* memory = mmap(nullptr, sizeof(SharedMutex), PROT_READ | PROT_WRITE, flags, descriptor, 0);
  if (memory == MAP_FAILED) {
    FailWithErrno();
    return nullptr;
  }
  return static_cast<SharedMutex*>(memory);
}

// A file of that name that isn't one of ours would be a mapping that kills its reader.
bool HasSize(int descriptor) {
  struct stat information {};
  return fstat(descriptor, &information) == 0 && S_ISREG(information.st_mode) &&
         information.st_size == static_cast<off_t>(sizeof(SharedMutex));
}

timespec Deadline(std::int64_t milliseconds) {
  timespec until{};
  clock_gettime(CLOCK_MONOTONIC, &until);
  const std::int64_t nanoseconds = until.tv_nsec + (milliseconds % 1000) * 1'000'000;
  until.tv_sec += milliseconds / 1000 + nanoseconds / 1'000'000'000;
  until.tv_nsec = nanoseconds % 1'000'000'000;
  return until;
}

int LockNative(pthread_mutex_t* mutex, std::int64_t timeoutMilliseconds) {
  if (timeoutMilliseconds < 0) return pthread_mutex_lock(mutex);
  if (timeoutMilliseconds == 0) return pthread_mutex_trylock(mutex);
  const timespec until = Deadline(timeoutMilliseconds);
  return pthread_mutex_clocklock(mutex, CLOCK_MONOTONIC, &until);
}

std::uint64_t Hash(std::string_view text, std::uint64_t hash) {
  for (const char c : text) hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3;
  return hash;
}

std::string SharedPath(std::string_view name) {
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

// An empty file of that name with nothing ready in it, readable and writable for every user,
// whatever the umask. True also when somebody else has made one meanwhile.
bool MakeFile(const std::string& path) {
  const std::string temporary =
      path + "." + std::to_string(getpid()) + "." + std::to_string(gettid());
  unlink(temporary.c_str());
  const Descriptor file(
      open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) return FailWithErrno();
  const bool made = ftruncate(file.Get(), sizeof(SharedMutex)) == 0 &&
                    fchmod(file.Get(), 0666) == 0 &&
                    (link(temporary.c_str(), path.c_str()) == 0 || errno == EEXIST);
  if (!made) FailWithErrno();
  unlink(temporary.c_str());
  return made;
}

}  // namespace

struct NamedMutex::State {
  SharedMutex* shared = nullptr;
  Descriptor file;
  std::string path;                                       // empty for a nameless one
  std::atomic<std::thread::id> owner{std::thread::id()};  // of a lock through this handle
  int depth = 0;                                          // its locks; the owner's to touch

  State() = default;
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State();

  enum class Entry : std::uint8_t { kEntered, kTryAgain, kFailed };
  static std::unique_ptr<State> Enter(std::string_view name, bool create);
  static Entry Fail() {
    FailWithErrno();
    return Entry::kFailed;
  }
  Entry EnterFile(bool create);
  Entry Use(bool alone);
};

NamedMutex::State::~State() {
  if (shared != nullptr) munmap(shared, sizeof(SharedMutex));
  if (file && LockFile(file.Get(), F_WRLCK) && HasName(file.Get(), path)) unlink(path.c_str());
}

std::unique_ptr<NamedMutex::State> NamedMutex::State::Enter(std::string_view name, bool create) {
  auto state = std::make_unique<State>();
  state->path = SharedPath(name);
  Entry entry = Entry::kTryAgain;
  while (entry == Entry::kTryAgain) entry = state->EnterFile(create);
  if (entry == Entry::kFailed) return nullptr;
  return state;
}

NamedMutex::State::Entry NamedMutex::State::EnterFile(bool create) {
  file = Descriptor(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
  if (!file) {
    if (errno != ENOENT || !create) return Fail();
    return MakeFile(path) ? Entry::kTryAgain : Entry::kFailed;
  }
  // The second attempt is for the case that the first met somebody who was only looking.
  const bool alone = LockFile(file.Get(), F_WRLCK) ||
                     (LockFile(file.Get(), F_RDLCK) && LockFile(file.Get(), F_WRLCK));
  if (!HasName(file.Get(), path)) return Entry::kTryAgain;
  if (alone && !create) {
    SetLastError(kErrorFileNotFound);
    return Entry::kFailed;
  }
  return Use(alone);
}

NamedMutex::State::Entry NamedMutex::State::Use(bool alone) {
  if (!HasSize(file.Get())) {
    SetLastError(kErrorAccessDenied);
    return Entry::kFailed;
  }
  shared = Map(file.Get());
  if (shared == nullptr) return Entry::kFailed;
  if (alone) {
    shared->ready.store(0, std::memory_order_release);
    if (!InitialiseMutex(shared, true)) return Entry::kFailed;
    return LockFile(file.Get(), F_RDLCK) ? Entry::kEntered : Fail();
  }
  if (shared->ready.load(std::memory_order_acquire) == kReady) return Entry::kEntered;
  // Its maker died at work.
  munmap(std::exchange(shared, nullptr), sizeof(SharedMutex));
  return Entry::kTryAgain;
}

NamedMutex::NamedMutex(std::unique_ptr<State> state) : state_(std::move(state)) {}

// A handle that goes while its thread holds the mutex gives it back. While another thread that
// lives holds it the memory has to stay.
NamedMutex::~NamedMutex() {
  while (state_->owner.load() == std::this_thread::get_id() && Unlock()) {
  }
  if (state_->owner.load() == std::thread::id()) return;
  const LockOutcome outcome = Lock(0);
  if (outcome == LockOutcome::kLocked || outcome == LockOutcome::kAbandoned) {
    Unlock();
  } else {
    (void)state_.release();
  }
}

std::unique_ptr<NamedMutex> NamedMutex::Open(std::string_view name) {
  auto state = State::Enter(name, false);
  if (!state) return nullptr;
  return std::unique_ptr<NamedMutex>(new NamedMutex(std::move(state)));
}

std::unique_ptr<NamedMutex> NamedMutex::Create(std::string_view name) {
  auto state = State::Enter(name, true);
  if (!state) return nullptr;
  return std::unique_ptr<NamedMutex>(new NamedMutex(std::move(state)));
}

std::unique_ptr<NamedMutex> NamedMutex::CreateUnnamed() {
  auto state = std::make_unique<State>();
  state->shared = Map(-1);
  if (state->shared == nullptr || !InitialiseMutex(state->shared, false)) return nullptr;
  return std::unique_ptr<NamedMutex>(new NamedMutex(std::move(state)));
}

LockOutcome NamedMutex::Lock(std::int64_t timeoutMilliseconds) {
  const int result = LockNative(&state_->shared->mutex, timeoutMilliseconds);
  if (result == ETIMEDOUT || result == EBUSY) return LockOutcome::kTimedOut;
  if (result != 0 && result != EOWNERDEAD) {
    SetLastError(ErrorFromErrno(result));
    return LockOutcome::kFailed;
  }
  if (result == EOWNERDEAD) pthread_mutex_consistent(&state_->shared->mutex);
  // The count of an owner that died doesn't go on.
  if (state_->owner.exchange(std::this_thread::get_id()) != std::this_thread::get_id()) {
    state_->depth = 0;
  }
  ++state_->depth;
  return result == 0 ? LockOutcome::kLocked : LockOutcome::kAbandoned;
}

bool NamedMutex::Unlock() {
  if (state_->owner.load() != std::this_thread::get_id()) {
    SetLastError(kErrorNotOwner);
    return false;
  }
  if (--state_->depth == 0) state_->owner = std::thread::id();
  const int result = pthread_mutex_unlock(&state_->shared->mutex);
  if (result != 0) SetLastError(ErrorFromErrno(result));
  return result == 0;
}

}  // namespace corvane::platform
