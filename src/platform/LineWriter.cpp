#include "platform/LineWriter.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "platform/Thread.h"

namespace corvane::platform {
namespace {

constexpr std::size_t kStackBytes = 256'000;
// At most twenty writes a second, of what they gathered.
constexpr std::chrono::milliseconds kRest{50};

}  // namespace

bool LineWriter::Start() {
  return StartThread(kStackBytes, [this] { Run(); });
}

void LineWriter::Put(std::string_view text) {
  {
    const std::lock_guard lock(mutex_);
    if (kept_.size() + text.size() > kMostBytesKept) {
      ++lost_;
      return;
    }
    kept_.append(text);
  }
  lines_.notify_one();
}

bool LineWriter::Drain(std::chrono::milliseconds limit) {
  std::unique_lock lock(mutex_);
  ++drainers_;
  state_.notify_all();
  const bool drained = state_.wait_for(lock, limit, [this] { return kept_.empty() && !writing_; });
  --drainers_;
  return drained;
}

void LineWriter::Run() {
  const bool watched = isatty(descriptor_) == 1;
  for (;;) {
    Write(Take());
    std::unique_lock lock(mutex_);
    writing_ = false;
    state_.notify_all();
    if (!watched) state_.wait_for(lock, kRest, [this] { return drainers_ > 0; });
  }
}

// Waits for lines and takes them all.
std::string LineWriter::Take() {
  std::unique_lock lock(mutex_);
  lines_.wait(lock, [this] { return !kept_.empty(); });
  writing_ = true;
  std::string text = std::exchange(kept_, {});
  if (lost_ > 0) text += "[" + std::to_string(std::exchange(lost_, 0)) + " lines were lost]\n";
  return text;
}

// What nobody can take any more is dropped.
void LineWriter::Write(std::string_view text) const {
  while (!text.empty()) {
    const ssize_t written = write(descriptor_, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN) {
      pollfd room{descriptor_, POLLOUT, 0};
      (void)poll(&room, 1, -1);
    } else if (errno != EINTR) {
      return;
    }
  }
}

}  // namespace corvane::platform
