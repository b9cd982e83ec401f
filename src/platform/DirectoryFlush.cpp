#include "platform/DirectoryFlush.h"

#include <fcntl.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/Error.h"
#include "platform/SystemCalls.h"

namespace corvane::platform {
namespace {

std::atomic<std::uint64_t> flushes{0};

// One flush of one directory and those who wait for it.
struct Round {
  bool done = false;
  std::int32_t error = 0;
};

// What goes on at one directory. Gone from the table when nobody is there any more.
struct Meeting {
  std::condition_variable roundOver;
  std::shared_ptr<Round> next = std::make_shared<Round>();
  bool flushing = false;
  int present = 0;
};

std::mutex mutex;
std::map<std::string, Meeting>& Meetings() {
  static auto& meetings = *new std::map<std::string, Meeting>;  // outlives every thread
  return meetings;
}

std::int32_t Flush(const std::string& path) {
  const sys::Descriptor directory(sys::Open(path, O_RDONLY | O_DIRECTORY));
  if (!directory.IsOpen()) return ErrorFromErrno(errno);
  flushes.fetch_add(1, std::memory_order_relaxed);
  // EINVAL: a file system that has nothing to flush here.
  const bool done = sys::FlushDirectory(directory.Get()) == 0 || errno == EINVAL;
  return done ? 0 : ErrorFromErrno(errno);
}

// Presence at a meeting; the last to leave takes it away. The mutex is held at both ends.
class Presence {
 public:
  explicit Presence(const std::string& path) : at_(Meetings().try_emplace(path).first) {
    ++at_->second.present;
  }
  ~Presence() {
    if (--at_->second.present == 0) Meetings().erase(at_);
  }
  Presence(const Presence&) = delete;
  Presence& operator=(const Presence&) = delete;
  [[nodiscard]] Meeting* Get() const { return &at_->second; }
  Meeting* operator->() const { return Get(); }

 private:
  std::map<std::string, Meeting>::iterator at_;
};

// One round under its leader. Whatever was named before it began is in it. The mutex is held at
// both ends and free in between.
class Leading {
 public:
  Leading(Meeting* meeting, std::unique_lock<std::mutex>* lock)
      : meeting_(meeting),
        lock_(lock),
        round_(std::exchange(meeting->next, std::make_shared<Round>())) {
    meeting_->flushing = true;
    lock_->unlock();
  }
  ~Leading() {
    lock_->lock();
    round_->error = error_;
    round_->done = true;
    meeting_->flushing = false;
    meeting_->roundOver.notify_all();
  }
  Leading(const Leading&) = delete;
  Leading& operator=(const Leading&) = delete;
  void Run(const std::string& path) { error_ = Flush(path); }

 private:
  Meeting* meeting_;
  std::unique_lock<std::mutex>* lock_;
  std::shared_ptr<Round> round_;
  std::int32_t error_ = kErrorIoDevice;
};

}  // namespace

std::int32_t FlushSystemDirectory(const std::string& path) {
  std::unique_lock lock(mutex);
  const Presence meeting(path);
  const std::shared_ptr<Round> mine = meeting->next;
  while (!mine->done) {
    if (meeting->flushing) {
      meeting->roundOver.wait(lock);
    } else {
      Leading(meeting.Get(), &lock).Run(path);
    }
  }
  return mine->error;
}

std::uint64_t DirectoryFlushes() { return flushes.load(); }

}  // namespace corvane::platform
