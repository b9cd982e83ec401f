#include "SERVICES/Library/LIBFileLock/BlockFile.h"

#include <optional>
#include <utility>

#include "connector/logs/Logs.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Machine.h"
#include "platform/Path.h"
#include "platform/Thread.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::int64_t kWaitMilliseconds = 1000;
constexpr std::int32_t kAttemptsPerLine = 10;
constexpr int kMostDeleteRepeats = 80;
constexpr std::uint64_t kMostHolderBytes = 4096;

constexpr std::int32_t kOurs = 1;
constexpr std::int32_t kNotThere = 0;
constexpr std::int32_t kGivenUp = -1;
constexpr std::int32_t kDeleted = 1;
constexpr std::int32_t kWasGone = 2;

long ThisThread() { return static_cast<long>(platform::CurrentThreadId()); }

platform::File MakeBlockFile(const std::string& path, platform::Share share) {
  return platform::File::Open(path, platform::Access::kReadWrite, share,
                              platform::Disposition::kCreateNew);
}

std::string HolderLine() {
  const auto now = platform::ToLocalTime(platform::NowSeconds());
  return platform::FormatTime(now, "%x %X") + " " + platform::ComputerName() + " " +
         std::string(platform::FileName(platform::ProgramPath())) + " " +
         std::to_string(ThisThread());
}

// " File locked by [...]." when the file names its holder.
std::string HeldBy(const std::string& path) {
  const auto text = platform::ReadWholeFile(path, kMostHolderBytes);
  if (!text) return {};
  const std::string line = text->substr(0, text->find_first_of("\r\n"));
  return line.empty() ? line : " File locked by [" + line + "].";
}

// One caller's wait for one block file.
class BlockFileWait {
 public:
  BlockFileWait(const std::string& path, std::int32_t retryPastThreshold,
                std::int32_t thresholdSeconds)
      : path_(path), retry_(retryPastThreshold), threshold_(thresholdSeconds) {}

  // kOurs with the file open in `file`, or why not.
  std::int32_t Run(bool writeHolder, platform::File* file) {
    // A waiter can read the holder's line only from the first attempt's file.
    *file = MakeBlockFile(path_, writeHolder ? platform::kShareRead : platform::kShareNone);
    while (!*file) {
      const std::int32_t error = platform::LastError();
      if (error == platform::kErrorPathNotFound) return kNotThere;
      CountAttempt();
      if (attempts_ > threshold_) {
        const bool stood =
            error == platform::kErrorFileExists || error == platform::kErrorSharingViolation;
        const auto end = Force(file, stood);
        if (end) return *end;
      }
      *file = MakeBlockFile(path_, platform::kShareNone);
    }
    return kOurs;
  }

 private:
  void CountAttempt() {
    if (attempts_ >= kAttemptsPerLine && attempts_ % kAttemptsPerLine == 0) {
      LogDebugF("[Thread:%ld] WaitForAccessToFile: Blocking on activity file: %s (%d)\n",
                ThisThread(), path_.c_str(), attempts_);
    }
    platform::SleepFor(kWaitMilliseconds);
    ++attempts_;
  }

  // Takes the file from its holder; the end of the wait, or nothing when it goes on. `stood` tells
  // that there was a file: where none can be made, on a full disk perhaps, none is ever gone.
  std::optional<std::int32_t> Force(platform::File* file, bool stood) {
    LogDebugF("[Thread:%ld] WaitForAccessToFile: Blocking timed out on activity file: %s\n",
              ThisThread(), path_.c_str());
    const std::int32_t result = UnBlockIndexFileAccess_Notify(path_, nullptr);
    switch (result == kWasGone && !stood ? kNotThere : result) {
      case kDeleted:
        LogDebugF("[Thread:%ld] WaitForAccessToFile: Unblocked activity file: %s\n", ThisThread(),
                  path_.c_str());
        *file = MakeBlockFile(path_, platform::kShareNone);
        return *file ? kOurs : kNotThere;
      case kWasGone:
        LogDebugF(
            "[Thread:%ld] Warning: Unblocking activity file (%s) succeeded with non-fatal errors. "
            "Trying to get block again.\n",
            ThisThread(), path_.c_str());
        attempts_ = 0;
        return std::nullopt;
      default:
        return TellHeld();
    }
  }

  std::optional<std::int32_t> TellHeld() const {
    LogDebugF(
        "[Thread:%ld] Error: Activity file (%s) access could not be obtained within threshold of "
        "%ld seconds. %s %s\n",
        ThisThread(), path_.c_str(), static_cast<long>(threshold_),
        retry_ == 0 ? "Giving up." : "Retrying.", HeldBy(path_).c_str());
    return retry_ == 0 ? std::optional(kGivenUp) : std::nullopt;
  }

  const std::string& path_;
  std::int32_t retry_;
  std::int32_t threshold_;
  std::int32_t attempts_ = 0;
};

}  // namespace

std::int32_t WaitForAccessToFile(const std::string& fileName, platform::File* handleOut,
                                 bool keepHandle, std::int32_t retryPastThreshold,
                                 std::int32_t thresholdSeconds, bool writeHolder) {
  platform::File file;
  const std::int32_t result =
      BlockFileWait(fileName, retryPastThreshold, thresholdSeconds).Run(writeHolder, &file);
  if (result != kOurs) return result;
  // The line is for people; on a full disk the file alone is the lock.
  if (writeHolder) static_cast<void>(file.Write(HolderLine()));
  if (keepHandle && handleOut != nullptr) {
    *handleOut = std::move(file);
  } else if (!file.Close()) {
    LogDebugF(
        "WaitForAccessToFile: [Thread:%ld] was unable to release temporary blockfile handle for "
        "file %s. LastError=%ld\n",
        ThisThread(), fileName.c_str(), static_cast<long>(platform::LastError()));
  }
  return kOurs;
}

std::int32_t UnBlockIndexFileAccess_Notify(const std::string& fileName, platform::File* handle) {
  const bool held = handle != nullptr && handle->IsOpen();
  // The name goes while the file is still held, so that nobody takes the lock in between and loses
  // it again; a name that is another's by now stays.
  const std::int32_t removal = !held                          ? platform::kErrorInvalidHandle
                               : handle->RemoveName(fileName) ? platform::kErrorNone
                                                              : platform::LastError();
  if (held && !handle->Close()) {
    LogDebugF(
        "UnBlockIndexFileAccess_Notify: [Thread:%ld] was unable to release blockfile lock for file "
        "%s. LastError=%ld\n",
        ThisThread(), fileName.c_str(), static_cast<long>(platform::LastError()));
  }
  if (removal == platform::kErrorNone) return kDeleted;
  if (removal == platform::kErrorFileNotFound) return kWasGone;
  for (int repeats = 0;; ++repeats) {
    if (platform::DeleteFile(fileName)) return kDeleted;
    if (platform::LastError() == platform::kErrorFileNotFound) return kWasGone;
    if (platform::LastError() == platform::kErrorPathNotFound) return kNotThere;
    if (repeats == kMostDeleteRepeats) return kNotThere;
    platform::SleepFor(kWaitMilliseconds);
  }
}

}  // namespace corvane
