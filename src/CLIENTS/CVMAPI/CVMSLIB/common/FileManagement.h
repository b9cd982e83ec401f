// FileManagement.h -- file calls that try again.
//
// For files that another program may hold for a moment. The waits are TimedWait's; a failure leaves
// the last error of its last try. Any thread.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/File.h"
#include "platform/TextFile.h"

namespace corvane {

inline constexpr int kRetries = 10;
inline constexpr std::uint32_t kRetryWaitMilliseconds = 2000;

// File::Open, up to 10 tries, 2 seconds apart, whatever the error. Returns the last try's result.
[[nodiscard]] platform::File RetryCreateFile(std::string_view path, platform::Access access,
                                             platform::Share share,
                                             platform::Disposition disposition);
// The same for a buffered text file.
[[nodiscard]] platform::TextFile RetryFopen(std::string_view path, platform::TextMode mode);

// Deletes, up to 10 tries, 2 seconds apart. 1 when the file is gone, which a file that isn't there
// (2) and an invalid name (123) are at once; 0 when the tries ran out.
std::int32_t RetryDeleteFile(std::string_view path);

// Deletes; when that fails, tries again up to `maxTries` times, a second apart, unless `retry` is
// 0. 1 when the file is gone or never was there (2, 3), otherwise 0.
std::int32_t DeleteWithRetry(std::string_view path, std::int32_t retry, std::int32_t maxTries);
// The same for a rename that doesn't replace; 2 and 3 fail at once.
std::int32_t MoveWithRetry(std::string_view from, std::string_view to, std::int32_t retry,
                           std::int32_t maxTries);

// Where the lines of these calls go; the logs lie above this library and put themselves in here.
// Until they have, the lines are dropped. Not while another thread is in one of the calls.
struct FileManagementLog {
  void (*write)(std::string_view text) = nullptr;
  bool (*levelAbove)(std::int32_t level) = nullptr;
};
void SetFileManagementLog(FileManagementLog log);

}  // namespace corvane
