#include "connector/logs/DailyLog.h"

#include "platform/Clock.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr const char* kStarted = "****************** LOG FILE STARTED *******************\n";
constexpr const char* kClosed = "****************** LOG FILE CLOSED ********************\n";

std::string FormatNow(const char* format) {
  return platform::FormatTime(platform::ToLocalTime(platform::NowSeconds()), format);
}

std::string Marker(const char* text) { return "[" + LogTimeStamp() + "]" + text; }

}  // namespace

std::string LogTimeStamp() { return FormatNow("%m/%d/%y %H:%M:%S"); }

void DailyLog::Open() {
  const std::lock_guard lock(mutex_);
  OpenLocked();
}

void DailyLog::Close() {
  const std::lock_guard lock(mutex_);
  CloseLocked();
}

void DailyLog::Append(std::string_view line) {
  const std::lock_guard lock(mutex_);
  if (stream_) WriteLocked(line);
  if (platform::EqualsNoCase(NameOfToday(), name_)) return;
  CloseLocked();
  OpenLocked();
}

std::string DailyLog::NameOfToday() const { return FormatNow(namePattern_); }

void DailyLog::OpenLocked() {
  name_ = NameOfToday();
  stream_ = platform::TextFile::Open(platform::JoinPath(directory_(), name_),
                                     platform::TextMode::kAppend);
  if (stream_) WriteLocked(Marker(kStarted));
}

void DailyLog::CloseLocked() {
  if (!stream_) return;
  WriteLocked(Marker(kClosed));
  stream_ = platform::TextFile();
}

// A failed write loses the line and nothing else.
void DailyLog::WriteLocked(std::string_view line) {
  stream_.Write(line);
  stream_.Flush();
}

}  // namespace corvane
