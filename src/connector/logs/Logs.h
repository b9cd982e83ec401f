// Logs.h -- the two daily text logs and the event log.
//
// The debug log takes everything, the call site asking for its level first; the activity log is a
// short trail of what happened to messages. Settings choose where each goes: "Debug Enabled" 1 the
// file, 2 the console, 3 the debugger channel, 5 the activity log, 0 nowhere; "Activity Log
// Enabled" the same without 5. A file is one local day's and is appended to, a line a write.
//
// Any thread, at any time until the process ends, before the logs are open and after they are
// closed: lines find no file then and are dropped. No log failure reaches a caller, but for one:
// a debug log mutex that can't be locked throws Exception (xMutexLock.h). The caller's last error
// stays as it was. Console and debugger channel never make a line wait for its reader once the
// service host has begun to gather them (platform/Reports.h).
#pragma once

#include <cstdint>
#include <string_view>

namespace corvane {

// One text to the log's target. The text holds its own line end.
void LogDebug(std::string_view text);
void LogActivity(std::string_view text);
// The same, formatted; any length. Costs nothing to speak of while the log has no target.
void LogDebugF(const char* format, ...) __attribute__((format(printf, 1, 2)));
void LogActivityF(const char* format, ...) __attribute__((format(printf, 1, 2)));

// To the activity file, whatever the debug log's target is; nothing when the activity log's target
// isn't the file.
void LogActivityToFile(std::string_view text);

// Whether "Debug Logging Level" is above `level`: the question before a line "above n".
[[nodiscard]] bool DebugLevelAbove(std::int32_t level);

// Open and close the files; nothing when the target isn't the file. A file that can't be opened
// loses its lines until the next daily change. Both are the service host's to call.
void OpenDebugLog();
void CloseDebugLog();
void OpenActivityLog();
void CloseActivityLog();

// Make the system mutexes POCDebugLog and POCActivityLog, and let go of them (the latter first).
// The first serialises LogDebug between processes; without it LogDebug serialises threads only.
void CreateLogMutexes();
void ReleaseLogMutexes();

// Lets the helpers below the logs log here (FileManagement.h) and read their setting (Text.h). The
// service host's to call, before its threads start.
void AttachSharedHelpers();

inline constexpr std::int32_t kReportError = 1;
inline constexpr std::int32_t kReportInformation = 4;
inline constexpr std::uint32_t kConnectorEventId = 0x40000001;
inline constexpr const char* kReportSource = "Corvane";

// One entry in the event log: the program with the last error as it was at the call, then `text`.
// A null or empty `source` becomes "Corvane"; `category` isn't used. Keeps the last error.
void ReportToEventLog(std::int32_t type, const char* source, const char* category,
                      std::uint32_t eventId, std::string_view text);

}  // namespace corvane
