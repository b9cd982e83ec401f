// Thread.cpp -- detached threads that wait a while for further work when they are done.
//
// A parked thread sits in Pool::parked, most recently parked last, and is handed out from there, so
// that the stack in use is the one touched last. Whoever takes a thread out of the list under the
// pool's mutex owns its next step: a starter gives it work, the thread itself leaves.
#include "platform/Thread.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/Error.h"

namespace corvane::platform {
namespace {

constexpr std::size_t kMaximumParked = 64;
constexpr std::chrono::seconds kIdleTime{30};

struct Runner {
  std::size_t stackBytes = 0;
  std::function<void()> work;
  std::condition_variable wake;
};

struct Pool {
  std::mutex mutex;
  std::vector<Runner*> parked;
};

// Never destroyed: parked threads hold on to it until the process ends.
Pool& ThePool() {
  static Pool* const pool = new Pool;
  return *pool;
}

// Waits for the next work. False when the thread is to end.
bool Park(Runner& runner) {
  Pool& pool = ThePool();
  std::unique_lock lock(pool.mutex);
  if (pool.parked.size() >= kMaximumParked) return false;
  pool.parked.push_back(&runner);
  const auto until = std::chrono::steady_clock::now() + kIdleTime;
  if (runner.wake.wait_until(lock, until, [&] { return runner.work != nullptr; })) return true;
  std::erase(pool.parked, &runner);
  return false;
}

// An exception out of the work ends the process here, with its own story: callers catch.
void RunUntilIdle(Runner& runner) noexcept {
  do {
    SetLastError(kErrorNone);
    std::exchange(runner.work, nullptr)();
  } while (Park(runner));
}

void* ThreadEntry(void* argument) {
  const std::unique_ptr<Runner> runner(static_cast<Runner*>(argument));
  RunUntilIdle(*runner);
  return nullptr;
}

// Hands `work` to a parked thread with a stack of that size; false when there is none.
bool WakeParked(std::size_t stackBytes, std::function<void()>& work) {
  Pool& pool = ThePool();
  const std::lock_guard lock(pool.mutex);
  const auto found =
      std::find_if(pool.parked.rbegin(), pool.parked.rend(),
                   [&](const Runner* runner) { return runner->stackBytes == stackBytes; });
  if (found == pool.parked.rend()) return false;
  Runner* runner = *found;
  pool.parked.erase(std::next(found).base());
  runner->work = std::move(work);
  runner->wake.notify_one();
  return true;
}

class ThreadAttributes {
 public:
  explicit ThreadAttributes(std::size_t stackBytes) {
    pthread_attr_init(&attributes_);
    pthread_attr_setdetachstate(&attributes_, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes_, stackBytes);
  }
  ~ThreadAttributes() { pthread_attr_destroy(&attributes_); }
  ThreadAttributes(const ThreadAttributes&) = delete;
  ThreadAttributes& operator=(const ThreadAttributes&) = delete;
  [[nodiscard]] const pthread_attr_t* Get() const { return &attributes_; }

 private:
  pthread_attr_t attributes_{};
};

bool StartNew(std::size_t stackBytes, std::function<void()> work) {
  auto runner = std::make_unique<Runner>();
  runner->stackBytes = stackBytes;
  runner->work = std::move(work);
  const ThreadAttributes attributes(stackBytes);
  pthread_t thread{};
  if (pthread_create(&thread, attributes.Get(), ThreadEntry, runner.get()) != 0) {
    SetLastError(kErrorNotEnoughMemory);
    return false;
  }
  (void)runner.release();
  return true;
}

}  // namespace

bool StartThread(std::size_t stackBytes, std::function<void()> work) {
  return WakeParked(stackBytes, work) || StartNew(stackBytes, std::move(work));
}

std::int32_t CurrentThreadId() { return static_cast<std::int32_t>(gettid()); }

}  // namespace corvane::platform
