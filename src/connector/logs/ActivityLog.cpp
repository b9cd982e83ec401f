#include <cstdarg>
#include <string>

#include "connector/logs/DailyLog.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"
#include "platform/Format.h"
#include "platform/Reports.h"

namespace corvane {
namespace {

// "Activity Log Enabled".
enum Target : std::uint32_t { kNone = 0, kFile = 1, kConsole = 2, kDebugger = 3 };

std::uint32_t ActivityTarget() { return settings::Get(settings::kActivityLogEnabled); }

// Never destroyed: workers may log until the process ends.
DailyLog& ActivityFile() {
  static DailyLog* const log = new DailyLog(
      "POC-Activity-%y%m%d.log", [] { return settings::Get(settings::kActivityLogDirectory); });
  return *log;
}

std::string ActivityLine(std::string_view text) {
  return (LogTimeStamp() + "\t# ").append(text) + '\n';
}

}  // namespace

void LogActivity(std::string_view text) {
  const platform::KeepLastError keep;
  switch (ActivityTarget()) {
    case kFile:
      LogActivityToFile(text);
      break;
    case kConsole:
      platform::PrintConsole(ActivityLine(text));
      break;
    case kDebugger:
      platform::WriteDebugChannel(ActivityLine(text));
      break;
    default:
      break;
  }
}

void LogActivityF(const char* format, ...) {
  if (ActivityTarget() == kNone) return;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = platform::FormatTextV(format, arguments);
  va_end(arguments);
  LogActivity(text);
}

void LogActivityToFile(std::string_view text) {
  const platform::KeepLastError keep;
  if (ActivityTarget() == kFile) {
    ActivityFile().Append((LogTimeStamp() + "\t# ").append(text));
  }
}

void OpenActivityLog() {
  if (ActivityTarget() == kFile) ActivityFile().Open();
}

void CloseActivityLog() {
  if (ActivityTarget() == kFile) ActivityFile().Close();
}

}  // namespace corvane
