#include "CLIENTS/CVMAPI/CVMSLIB/common/FileManagement.h"

#include <string>

#include "CLIENTS/CVMAPI/CVMSLIB/common/TimedWait.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Format.h"

namespace corvane {
namespace {

using platform::FormatText;

constexpr std::int32_t kFailedDeletesLevel = 9;
constexpr std::int32_t kTriesPerWarning = 5;
constexpr std::uint32_t kSlowRetryWaitMilliseconds = 1000;

FileManagementLog fileLog;

// The last error stays what the file call left, whatever the log does.
void Log(const std::string& text) {
  const std::int32_t error = platform::LastError();
  if (fileLog.write != nullptr) fileLog.write(text);
  platform::SetLastError(error);
}

template <typename Open>
auto Retry(Open open) -> decltype(open()) {
  auto file = open();
  for (int tries = 1; !file && tries < kRetries; ++tries) {
    TimedWait(kRetryWaitMilliseconds);
    file = open();
  }
  return file;
}

bool IsGone(std::int32_t error) {
  return error == platform::kErrorFileNotFound || error == platform::kErrorInvalidName;
}

bool IsNotThere(std::int32_t error) {
  return error == platform::kErrorFileNotFound || error == platform::kErrorPathNotFound;
}

enum class Attempt : std::uint8_t { kDone, kHopeless, kAgain };

// The rhythm of DeleteWithRetry and MoveWithRetry: the first attempt, then up to `maxTries` more, a
// second after each that failed, and a warning at the first and at every fifth of them.
template <typename Try, typename Warning, typename Abandoned>
std::int32_t RepeatSlowly(std::int32_t retry, std::int32_t maxTries, Try attempt, Warning warning,
                          Abandoned abandoned) {
  Attempt outcome = attempt();
  for (std::int32_t tries = 1; outcome == Attempt::kAgain && tries <= maxTries; ++tries) {
    if (tries % kTriesPerWarning == 1) Log(warning(platform::LastError()));
    if (retry == 0) return 0;
    outcome = attempt();
    if (outcome == Attempt::kAgain) TimedWait(kSlowRetryWaitMilliseconds);
  }
  if (outcome == Attempt::kAgain) Log(abandoned(platform::LastError()));
  return outcome == Attempt::kDone ? 1 : 0;
}

}  // namespace

void SetFileManagementLog(FileManagementLog log) { fileLog = log; }

platform::File RetryCreateFile(std::string_view path, platform::Access access,
                               platform::Share share, platform::Disposition disposition) {
  return Retry([&] { return platform::File::Open(path, access, share, disposition); });
}

platform::TextFile RetryFopen(std::string_view path, platform::TextMode mode) {
  return Retry([&] { return platform::TextFile::Open(path, mode); });
}

std::int32_t RetryDeleteFile(std::string_view path) {
  for (int tries = 1;; ++tries) {
    if (platform::DeleteFile(path) || IsGone(platform::LastError())) return 1;
    if (tries == kRetries) return 0;
    if (fileLog.levelAbove != nullptr && fileLog.levelAbove(kFailedDeletesLevel)) {
      Log(FormatText("Unable to remove file: %s. Error: %d\n", std::string(path).c_str(),
                     platform::LastError()));
    }
    TimedWait(kRetryWaitMilliseconds);
  }
}

std::int32_t DeleteWithRetry(std::string_view path, std::int32_t retry, std::int32_t maxTries) {
  const std::string name(path);
  return RepeatSlowly(
      retry, maxTries,
      [&] {
        if (platform::DeleteFile(path)) return Attempt::kDone;
        return IsNotThere(platform::LastError()) ? Attempt::kDone : Attempt::kAgain;
      },
      [&](long error) {
        return FormatText(
            "CV-WXXXX: DeleteWithRetry Warning: An error occurred when attempting to delete file "
            "%s. Error: %ld\n",
            name.c_str(), error);
      },
      [&](long error) {
        return FormatText(
            "CV-WXXXX: DeleteWithRetry Error:  Abandoning attempts to delete file %s. Error: "
            "%ld\n",
            name.c_str(), error);
      });
}

std::int32_t MoveWithRetry(std::string_view from, std::string_view to, std::int32_t retry,
                           std::int32_t maxTries) {
  const std::string source(from);
  const std::string target(to);
  return RepeatSlowly(
      retry, maxTries,
      [&] {
        if (platform::MoveFile(from, to)) return Attempt::kDone;
        return IsNotThere(platform::LastError()) ? Attempt::kHopeless : Attempt::kAgain;
      },
      [&](long error) {
        return FormatText(
            "CV-WXXXX: Warning: Unable to move %s Activity File to %s at this time (but will keep "
            "retrying). Error: %ld\n",
            source.c_str(), target.c_str(), error);
      },
      [&](long error) {
        return FormatText(
            "CV-WXXXX: Warning: A Timeout occurred when attempting to move %s Activity File to "
            "%s. Error: %ld\n",
            source.c_str(), target.c_str(), error);
      });
}

}  // namespace corvane
