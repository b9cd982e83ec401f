// NamedMutex.cpp -- one shared mutex of a name in a process, whatever the number of its handles.
#include "platform/NamedMutex.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/Error.h"
#include "platform/SharedMutexFile.h"

namespace corvane::platform {

struct NamedMutex::State {
  explicit State(std::unique_ptr<SharedMutexFile> sharedFile) : file(std::move(sharedFile)) {}
  ~State();

  LockOutcome Lock(std::int64_t timeoutMilliseconds);
  bool Unlock();
  // Whether a thread of this process may hold it.
  [[nodiscard]] bool Held() const { return owner.load() != std::thread::id(); }

  const std::unique_ptr<SharedMutexFile> file;
  std::atomic<std::thread::id> owner{std::thread::id()};  // in this process
  int depth = 0;                                          // its locks; the owner's to touch
};

namespace {

// ThreadSanitizer doesn't know the lock with a clock of its own.
#ifdef __SANITIZE_THREAD__
constexpr clockid_t kDeadlineClock = CLOCK_REALTIME;
int LockUntil(pthread_mutex_t* mutex, const timespec& until) {
  return pthread_mutex_timedlock(mutex, &until);
}
#else
constexpr clockid_t kDeadlineClock = CLOCK_MONOTONIC;
int LockUntil(pthread_mutex_t* mutex, const timespec& until) {
  return pthread_mutex_clocklock(mutex, kDeadlineClock, &until);
}
#endif

timespec Deadline(std::int64_t milliseconds) {
  timespec until{};
  clock_gettime(kDeadlineClock, &until);
  const std::int64_t nanoseconds = until.tv_nsec + (milliseconds % 1000) * 1'000'000;
  until.tv_sec += milliseconds / 1000 + nanoseconds / 1'000'000'000;
  until.tv_nsec = nanoseconds % 1'000'000'000;
  return until;
}

int LockNative(pthread_mutex_t* mutex, std::int64_t timeoutMilliseconds) {
  if (timeoutMilliseconds < 0) return pthread_mutex_lock(mutex);
  if (timeoutMilliseconds == 0) return pthread_mutex_trylock(mutex);
  return LockUntil(mutex, Deadline(timeoutMilliseconds));
}

}  // namespace

// What its last handle leaves locked on the same thread is given back.
NamedMutex::State::~State() {
  while (owner.load() == std::this_thread::get_id() && Unlock()) {
  }
}

LockOutcome NamedMutex::State::Lock(std::int64_t timeoutMilliseconds) {
  const int result = LockNative(file->Mutex(), timeoutMilliseconds);
  if (result == ETIMEDOUT || result == EBUSY) return LockOutcome::kTimedOut;
  if (result != 0 && result != EOWNERDEAD) {
    SetLastError(ErrorFromErrno(result));
    return LockOutcome::kFailed;
  }
  if (result == EOWNERDEAD) pthread_mutex_consistent(file->Mutex());
  // The count of an owner that died doesn't go on.
  if (owner.exchange(std::this_thread::get_id()) != std::this_thread::get_id()) depth = 0;
  ++depth;
  return result == 0 ? LockOutcome::kLocked : LockOutcome::kAbandoned;
}

bool NamedMutex::State::Unlock() {
  if (owner.load() != std::this_thread::get_id()) {
    SetLastError(kErrorNotOwner);
    return false;
  }
  if (--depth == 0) owner = std::thread::id();
  const int result = pthread_mutex_unlock(file->Mutex());
  if (result != 0) SetLastError(ErrorFromErrno(result));
  return result == 0;
}

// The named mutexes that this process has handles on.
class NamedMutex::Registry {
 public:
  // Never destroyed: handles may go until the process ends.
  static Registry& Instance() {
    static Registry* const registry = new Registry;
    return *registry;
  }

  std::shared_ptr<State> Enter(std::string_view name, bool create) {
    const std::string path = SharedMutexFile::PathOf(name);
    const std::lock_guard lock(mutex_);
    if (auto state = states_[path].lock()) return state;
    auto file = SharedMutexFile::Enter(path, create);
    if (!file) {
      states_.erase(path);
      return nullptr;
    }
    auto state = std::make_shared<State>(std::move(file));
    states_[path] = state;
    return state;
  }

  // Memory in which a thread that lives holds a lock has to stay.
  void Leave(std::shared_ptr<State> state) {
    const std::lock_guard lock(mutex_);
    if (state.use_count() > 1 || !state->Held()) return;
    const LockOutcome outcome = state->Lock(0);
    if (outcome == LockOutcome::kLocked || outcome == LockOutcome::kAbandoned) {
      (void)state->Unlock();
    } else {
      kept_.push_back(std::move(state));
    }
  }

 private:
  std::mutex mutex_;
  std::map<std::string, std::weak_ptr<State>> states_;
  std::vector<std::shared_ptr<State>> kept_;
};

NamedMutex::NamedMutex(std::shared_ptr<State> state) : state_(std::move(state)) {}

NamedMutex::~NamedMutex() { Registry::Instance().Leave(std::move(state_)); }

std::unique_ptr<NamedMutex> NamedMutex::Make(std::shared_ptr<State> state) {
  return state ? std::unique_ptr<NamedMutex>(new NamedMutex(std::move(state))) : nullptr;
}

std::unique_ptr<NamedMutex> NamedMutex::Open(std::string_view name) {
  return Make(Registry::Instance().Enter(name, false));
}

std::unique_ptr<NamedMutex> NamedMutex::Create(std::string_view name) {
  return Make(Registry::Instance().Enter(name, true));
}

std::unique_ptr<NamedMutex> NamedMutex::CreateUnnamed() {
  auto file = SharedMutexFile::Enter("", true);
  return file ? Make(std::make_shared<State>(std::move(file))) : nullptr;
}

LockOutcome NamedMutex::Lock(std::int64_t timeoutMilliseconds) {
  return state_->Lock(timeoutMilliseconds);
}

bool NamedMutex::Unlock() { return state_->Unlock(); }

}  // namespace corvane::platform
