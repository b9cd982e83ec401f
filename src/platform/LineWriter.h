// LineWriter.h -- writes lines to a descriptor whose reader may be slow, stopped or gone.
//
// Put never waits: a thread of the writer's own does the writing. A line that comes to a writer at
// rest is written at once; what comes in the next moments is gathered for one write, unless the
// descriptor is a terminal, where somebody watches. What a reader doesn't take is kept up to a
// limit; lines beyond it are dropped and counted in a line of their own. A process that is killed
// loses the lines of the last moments.
//
// Any thread. Never destroyed once started, since its thread goes on until the process ends.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

namespace corvane::platform {

class LineWriter {
 public:
  static constexpr std::size_t kMostBytesKept = 1 << 20;

  explicit LineWriter(int descriptor) : descriptor_(descriptor) {}
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  // Starts the thread, with the caller's signal mask; false when the system has none to give.
  [[nodiscard]] bool Start();
  void Put(std::string_view text);
  // Returns when everything put so far is written, or after `limit`: whether it was.
  bool Drain(std::chrono::milliseconds limit);

 private:
  void Run();
  [[nodiscard]] std::string Take();
  void Write(std::string_view text) const;

  const int descriptor_;
  std::mutex mutex_;
  std::condition_variable lines_;  // for a writer that has none; nobody else waits here, so that a
                                   // Put meanwhile costs no system call
  std::condition_variable state_;
  std::string kept_;
  std::uint64_t lost_ = 0;
  bool writing_ = false;
  int drainers_ = 0;
};

}  // namespace corvane::platform
