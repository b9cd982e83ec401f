#include "cvctl/Progress.h"

#include <algorithm>
#include <utility>

#include "platform/Clock.h"
#include "platform/Reports.h"

namespace corvane::cvctl {
namespace {

constexpr std::int64_t kFirstDrawingMilliseconds = 300;
constexpr std::int64_t kNextDrawingMilliseconds = 100;
constexpr std::size_t kBarWidth = 30;

std::int64_t Now() { return platform::CurrentClock().Monotonic(); }

}  // namespace

Progress::Progress(std::string doing, std::size_t total)
    : Progress(std::move(doing), total, platform::IsTerminal(stderr) ? stderr : nullptr) {}

Progress::Progress(std::string doing, std::size_t total, std::FILE* terminal)
    : doing_(std::move(doing)),
      total_(std::max<std::size_t>(total, 1)),
      terminal_(terminal),
      nextDrawing_(Now() + kFirstDrawingMilliseconds) {}

Progress::~Progress() {
  if (drawn_) Erase();
}

void Progress::Step() {
  ++done_;
  if (terminal_ == nullptr || Now() < nextDrawing_) return;
  Draw();
  drawn_ = true;
  nextDrawing_ = Now() + kNextDrawingMilliseconds;
}

void Progress::PrintLine(const std::string& line) {
  const bool below = drawn_ && platform::IsTerminal(stdout);
  if (below) Erase();
  std::fwrite(line.data(), 1, line.size(), stdout);
  if (!below) return;
  std::fflush(stdout);
  Draw();
}

void Progress::Erase() const {
  std::fputs("\r\x1b[K", terminal_);
  std::fflush(terminal_);
}

void Progress::Draw() const {
  const std::size_t done = std::min(done_, total_);
  const std::size_t filled = done * kBarWidth / total_;
  const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
  std::fprintf(terminal_, "\r\x1b[K%s [%s] %zu of %zu", doing_.c_str(), bar.c_str(), done, total_);
  std::fflush(terminal_);
}

}  // namespace corvane::cvctl
