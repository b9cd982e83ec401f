// DailyLog.h -- a text log with one file a local day.
//
// Called by the debug log and the activity log. Any thread: one mutex guards stream and name, so a
// line never meets a stream that another thread is changing. Each line is one write at the end of
// the file, so that the lines of two processes stay whole. A file that can't be opened loses the
// lines of its day.
#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include "platform/TextFile.h"

namespace corvane {

// The present moment as the logs show it: "MM/DD/YY HH:MM:SS", local time.
[[nodiscard]] std::string LogTimeStamp();

class DailyLog {
 public:
  // `namePattern` as strftime takes it; `directory` is asked at each opening.
  DailyLog(const char* namePattern, std::string (*directory)())
      : namePattern_(namePattern), directory_(directory) {}

  // Opens today's file and writes the line that tells of it.
  void Open();
  // Writes the line that tells of it and closes; nothing without an open file.
  void Close();
  // Appends `line`, if a file is open; then goes over to the file of the day if that is another
  // one. So the first line after midnight is still the old file's.
  void Append(std::string_view line);

 private:
  [[nodiscard]] std::string NameOfToday() const;
  void OpenLocked();
  void CloseLocked();
  void WriteLocked(std::string_view line);

  const char* const namePattern_;
  std::string (*const directory_)();
  std::mutex mutex_;
  platform::TextFile stream_;
  std::string name_;
};

}  // namespace corvane
