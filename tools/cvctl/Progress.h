// Progress.h -- the bar on standard error that long work shows to whoever waits at a terminal.
//
//   Progress progress("resetting", names.size());
//   for (const std::string& name : names) { ...; progress.Step(); }
//
// Nothing is drawn before the work has taken a third of a second, and nothing at all where standard
// error is no terminal. The bar goes away at the end. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace corvane::cvctl {

class Progress {
 public:
  // `doing` names the work in one word.
  Progress(std::string doing, std::size_t total);
  // The same on a stream that is known to be a terminal, or null for none.
  Progress(std::string doing, std::size_t total, std::FILE* terminal);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // One more is done.
  void Step();
  // A line on standard output, with its end; the bar stays below it.
  void PrintLine(const std::string& line);

 private:
  void Erase() const;
  void Draw() const;

  const std::string doing_;
  const std::size_t total_;
  std::FILE* const terminal_;
  std::size_t done_ = 0;
  std::int64_t nextDrawing_ = 0;  // of the monotonic clock
  bool drawn_ = false;
};

}  // namespace corvane::cvctl
