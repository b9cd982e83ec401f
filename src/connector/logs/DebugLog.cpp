#include <cstdarg>
#include <memory>
#include <mutex>
#include <string>

#include "SERVICES/Library/xMutexLock/xMutexLock.h"
#include "connector/logs/DailyLog.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Error.h"
#include "platform/Format.h"
#include "platform/Reports.h"

namespace corvane {
namespace {

// "Debug Enabled".
enum Target : std::uint32_t { kNone = 0, kFile = 1, kConsole = 2, kDebugger = 3, kActivityLog = 5 };

std::uint32_t DebugTarget() { return settings::Get(settings::kDebugEnabled); }

// What follows is never destroyed: workers may log until the process ends.
DailyLog& DebugFile() {
  static DailyLog* const log = new DailyLog(
      "POC-Debug-%y%m%d.log", [] { return settings::Get(settings::kDebugLogFileDirectory); });
  return *log;
}

struct SystemMutexes {
  std::mutex guard;
  std::shared_ptr<Mutex> debugLog;
  std::shared_ptr<Mutex> activityLog;  // nobody waits on it; other programs see that we run
};

SystemMutexes& TheMutexes() {
  static SystemMutexes* const mutexes = new SystemMutexes;
  return *mutexes;
}

// Held by its user, so that a stop under a worker's line takes nothing from under it.
std::shared_ptr<Mutex> DebugMutex() {
  const std::lock_guard lock(TheMutexes().guard);
  return TheMutexes().debugLog;
}

// Holds the mutex for one line. A connector that was killed in the middle of a line leaves nothing
// behind that could be half done, so its mutex is simply taken over; any other failure is told by
// Exception.
class LineLock {
 public:
  explicit LineLock(platform::NamedMutex* mutex) : mutex_(mutex) {
    if (mutex == nullptr || mutex->Lock(platform::kNoTimeLimit) != platform::LockOutcome::kFailed)
      return;
    throw Exception(
        "Failed to lock mutex POCDebugLog with error " + std::to_string(platform::LastError()),
        "DebugLog", __LINE__);
  }
  ~LineLock() {
    if (mutex_ != nullptr) mutex_->Unlock();
  }
  LineLock(const LineLock&) = delete;
  LineLock& operator=(const LineLock&) = delete;

 private:
  platform::NamedMutex* mutex_;
};

void WriteToTarget(std::uint32_t target, std::string_view text) {
  const std::string stamp = LogTimeStamp();
  const std::shared_ptr<Mutex> mutex = DebugMutex();
  const LineLock lock(mutex ? mutex->Handle.get() : nullptr);
  switch (target) {
    case kFile:
      DebugFile().Append((stamp + '\t').append(text));
      break;
    case kConsole:
      platform::PrintConsole((stamp + ' ').append(text));
      break;
    case kDebugger:
      platform::WriteDebugChannel(text);
      break;
    case kActivityLog:
      LogActivity(text);
      break;
    default:
      break;
  }
}

}  // namespace

void LogDebug(std::string_view text) {
  const platform::KeepLastError keep;
  const std::uint32_t target = DebugTarget();
  if (target != kNone) WriteToTarget(target, text);
}

void LogDebugF(const char* format, ...) {
  if (DebugTarget() == kNone) return;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = platform::FormatTextV(format, arguments);
  va_end(arguments);
  LogDebug(text);
}

bool DebugLevelAbove(std::int32_t level) {
  return settings::Get(settings::kDebugLoggingLevel) > static_cast<std::uint32_t>(level);
}

void OpenDebugLog() {
  if (DebugTarget() == kFile) DebugFile().Open();
}

void CloseDebugLog() {
  if (DebugTarget() == kFile) DebugFile().Close();
}

void CreateLogMutexes() {
  auto debugLog = std::make_shared<Mutex>("debug log", "POCDebugLog");
  auto activityLog = std::make_shared<Mutex>("activity log", "POCActivityLog");
  const std::lock_guard lock(TheMutexes().guard);
  TheMutexes().debugLog = std::move(debugLog);
  TheMutexes().activityLog = std::move(activityLog);
}

void ReleaseLogMutexes() {
  const std::lock_guard lock(TheMutexes().guard);
  TheMutexes().activityLog.reset();
  TheMutexes().debugLog.reset();
}

}  // namespace corvane
