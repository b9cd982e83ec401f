#include "SERVICES/Library/LIBFileLock/IndexBlockFile.h"

#include <algorithm>
#include <utility>

#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"
#include "platform/Format.h"
#include "platform/Machine.h"
#include "platform/Reports.h"
#include "platform/Thread.h"

namespace corvane {
namespace {

constexpr std::int64_t kWaitMilliseconds = 1000;
constexpr int kMostAttempts = 60;
constexpr int kMostDeleteRepeats = 80;
constexpr int kSilentDenials = 10;
constexpr std::int32_t kHolderLevel = 7;

platform::File MakeBlockFile(const std::string& path) {
  return platform::File::Open(path, platform::Access::kWrite, platform::kShareNone,
                              platform::Disposition::kCreateNew);
}

bool IsHopeless(std::int32_t error) {
  return error == platform::kErrorPathNotFound || error == platform::kErrorInvalidName ||
         error == platform::kErrorFilenameTooLong;
}

bool IsGone(std::int32_t error) {
  return error == platform::kErrorFileNotFound || error == platform::kErrorPathNotFound;
}

bool IsOfAnIndex(std::string path) {
  std::replace(path.begin(), path.end(), '/', '\\');
  return path.find("\\_index.blk") != std::string::npos;
}

// Deletes a file that nobody keeps open, for a caller who will keep it open.
bool DeleteOrphan(const std::string& path, std::int32_t error, std::int32_t keepHandle) {
  const bool wanted = settings::Get(settings::kIndexUnblockMode) != 0 &&
                      error == platform::kErrorFileExists && keepHandle == 1 && IsOfAnIndex(path);
  if (!wanted || !platform::DeleteFile(path)) return false;
  platform::PrintConsole("deleted orphan\n");
  return true;
}

// For an administrator who wonders why a folder stands still.
void TellDenied(const std::string& path, int attempts) {
  if (attempts <= kSilentDenials || !DebugLevelAbove(kHolderLevel)) return;
  ReportToEventLog(
      kReportInformation, kReportSource, "", kConnectorEventId,
      platform::FormatText("[%ld] Access Denied occurred in WaitForAccessToIndexFileEx for block "
                           "file: %s. Number of attempts: %ld\r\n",
                           static_cast<long>(platform::CurrentThreadId()), path.c_str(),
                           static_cast<long>(attempts)));
}

void WriteHolder(platform::File& file) {
  if (!DebugLevelAbove(kHolderLevel)) return;
  static_cast<void>(file.Write(platform::FormatText(
      "File Locked by Process: %ld, thread: %ld\n", static_cast<long>(platform::CurrentProcessId()),
      static_cast<long>(platform::CurrentThreadId()))));
}

// The new block file, or a closed one when there is no way to it.
platform::File WaitForBlockFile(const std::string& path, std::int32_t keepHandle) {
  platform::File file = MakeBlockFile(path);
  for (int attempts = 1; !file; ++attempts) {
    const std::int32_t error = platform::LastError();
    if (IsHopeless(error)) return file;
    if (error == platform::kErrorAccessDenied) TellDenied(path, attempts);
    platform::SleepFor(kWaitMilliseconds);
    const bool forces = !DeleteOrphan(path, error, keepHandle) && attempts > kMostAttempts;
    if (forces && UnBlockIndexFileAccess(path) != 1) return file;
    file = MakeBlockFile(path);
    if (forces) return file;
  }
  return file;
}

}  // namespace

std::int32_t WaitForAccessToIndexFileEx(const std::string& fileName, std::int32_t keepHandle,
                                        platform::File* handleOut) {
  platform::File file = WaitForBlockFile(fileName, keepHandle);
  if (!file) return 0;
  if (keepHandle != 0 && handleOut != nullptr) {
    WriteHolder(file);
    *handleOut = std::move(file);
  } else if (handleOut != nullptr) {
    *handleOut = {};
  }
  return 1;
}

std::int32_t WaitForAccessToIndexFile(const std::string& fileName) {
  return WaitForAccessToIndexFileEx(fileName, 0, nullptr);
}

namespace {

std::int32_t UnBlock(const std::string& fileName, std::int32_t closeHandle,
                     platform::File* handle) {
  // The name goes while the file is still held, so that nobody takes the lock in between and loses
  // it again; a name that is another's by now stays.
  const bool held = closeHandle == 1 && handle != nullptr && handle->IsOpen();
  const bool removed = held && handle->RemoveName(fileName);
  const bool others = held && !removed && IsGone(platform::LastError());
  if (closeHandle == 1 && handle != nullptr) *handle = {};
  if (removed || others) return removed ? 1 : 0;
  for (int repeats = 0;; ++repeats) {
    if (platform::DeleteFile(fileName)) return 1;
    if (IsGone(platform::LastError()) || repeats == kMostDeleteRepeats) return 0;
    platform::SleepFor(kWaitMilliseconds);
  }
}

}  // namespace

std::int32_t UnBlockIndexFileAccessEx(const std::string& fileName, std::int32_t closeHandle,
                                      platform::File* handle) {
  return ReportAndRethrow("UnBlockIndexFileAccessEx", CV_HERE,
                          [&] { return UnBlock(fileName, closeHandle, handle); });
}

std::int32_t UnBlockIndexFileAccess(const std::string& fileName) {
  return UnBlockIndexFileAccessEx(fileName, 0, nullptr);
}

}  // namespace corvane
