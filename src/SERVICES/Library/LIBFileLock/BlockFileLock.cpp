#include "SERVICES/Library/LIBFileLock/BlockFileLock.h"

#include <cstring>

#include "SERVICES/Library/LIBFileLock/BlockFile.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/FileSystem.h"
#include "platform/Format.h"
#include "platform/Thread.h"

namespace corvane {
namespace {

constexpr std::int32_t kKeepTrying = -1;
constexpr std::int32_t kThresholdSeconds = 100;
constexpr std::int32_t kNotHeld = 0;
constexpr std::int32_t kNotReleased = 2;
constexpr std::uint32_t kNamesHolder = 1;

long ThisThread() { return static_cast<long>(platform::CurrentThreadId()); }

}  // namespace

BlockFileLock::BlockFileLock(const std::string& path, bool keepHandle)
    : BlockFileLock(path, keepHandle, kKeepTrying, kThresholdSeconds) {}

BlockFileLock::BlockFileLock(const std::string& path, bool keepHandle,
                             std::int32_t retryPastThreshold, std::int32_t thresholdSeconds) {
  Take(path, keepHandle, retryPastThreshold, thresholdSeconds);
}

BlockFileLock::~BlockFileLock() { Release(); }

void BlockFileLock::Acquire(const std::string& directory, const std::string& name, bool keepHandle,
                            std::int32_t retryPastThreshold, std::int32_t thresholdSeconds) {
  Release();
  // A directory that can't be made is told by the wait.
  static_cast<void>(platform::CreateDirectories(directory));
  Take(directory + "\\" + name, keepHandle, retryPastThreshold, thresholdSeconds);
}

void BlockFileLock::Take(const std::string& path, bool keepHandle, std::int32_t retryPastThreshold,
                         std::int32_t thresholdSeconds) {
  State = kNotHeld;
  // What doesn't fit could lock another file than the one it was asked for.
  if (path.size() < sizeof Path) {
    std::memcpy(Path, path.c_str(), path.size() + 1);
    State = WaitForAccessToFile(path, &Handle, keepHandle, retryPastThreshold, thresholdSeconds,
                                settings::Get(settings::kBlockFileMode) == kNamesHolder);
  }
  if (State >= 1) return;
  const std::string text = platform::FormatText(
      "CV-EXXXX: [Thread:%ld] Error (Class S): BlockFileLock Activity notification handler "
      "(WaitForAccessToFile) failed to obtain a lock on the blockfile (%s).\n",
      ThisThread(), path.c_str());
  LogDebug(text);
  ReportToEventLog(kReportError, kReportSource, "", kConnectorEventId, text);
}

void BlockFileLock::Release() {
  if (State <= 0 || State == kNotReleased) return;
  if (UnBlockIndexFileAccess_Notify(Path, &Handle) != 0) {
    State = kNotHeld;
    return;
  }
  LogDebugF(
      "CV-EXXXX: [Thread:%ld] ERROR BlockFileLock: Activity notification handler was able to "
      "obtain "
      "a lock to the file (%s) but was unable to gracefully unlock it.\n",
      ThisThread(), Path);
  State = kNotReleased;
}

}  // namespace corvane
