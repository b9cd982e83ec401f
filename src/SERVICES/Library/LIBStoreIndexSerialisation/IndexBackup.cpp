#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexBackup.h"

#include "CLIENTS/CVMAPI/CVMSLIB/common/FileManagement.h"
#include "SERVICES/Library/LIBStoreIndexCore/ChangeFlag.h"
#include "connector/logs/ExceptionReport.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/FileSystem.h"

namespace corvane {
namespace {

constexpr int kDiscardTries = 10;
constexpr std::int64_t kTryWaitMilliseconds = 1000;
constexpr std::int32_t kDeleteTries = 15;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
constexpr int kFirstYear = 1601;

std::string IndexOf(const std::string& folder) { return folder + "\\_index.xml"; }
std::string BackupOf(const std::string& folder) { return folder + "\\_index.xml.bak"; }
std::string BadOf(const std::string& folder) { return folder + "\\_index.xml.bad"; }

// All three times of a file are now; those of its creation and change follow by themselves.
void TouchFile(const std::string& path) {
  static_cast<void>(platform::SetLastWriteTime(path, platform::NowSeconds()));
  static_cast<void>(platform::SetCreationTime(path, platform::NowSeconds()));
}

bool CopyOver(const std::string& from, const std::string& to) {
  return platform::CopyFile(from, to, true, false);
}

}  // namespace

bool IndexBackupExists(const std::string& folder) {
  bool exists = false;
  static_cast<void>(EndException([&] { exists = platform::FileExists(BackupOf(folder)); },
                                 [](const ExceptionDetails& details) {
                                   ReportException(FormatExceptionReport("IndexXMLBackupExists",
                                                                         CV_HERE, details));
                                 }));
  return exists;
}

std::int64_t MinutesOfSpan(std::int64_t seconds) {
  const platform::LocalTime date = platform::ToUtc(seconds - kSecondsFrom1601To1970);
  const std::int64_t days = (date.year - kFirstYear) * 365 + (date.month - 1) * 30 + date.day - 1;
  return days * 1440 + date.hour * 60 + date.minute;
}

std::int64_t IndexBackupAge(const std::string& folder) {
  const auto info = platform::GetFileInfo(BackupOf(folder));
  if (!info) return 0;
  const std::int64_t span = platform::NowSeconds() - info->lastWriteTime;
  return span < 0 ? 0 : MinutesOfSpan(span);
}

void CreateIndexBackup(const std::string& folder) {
  if (CopyOver(IndexOf(folder), BackupOf(folder))) TouchFile(BackupOf(folder));
}

namespace {

bool PutBackupInPlace(const std::string& folder) {
  DeleteWithRetry(BadOf(folder), 1, kDeleteTries);
  if (platform::FileExists(IndexOf(folder)) && !CopyOver(IndexOf(folder), BadOf(folder))) {
    return false;  // LastError() says why
  }
  // In one step, so that a copy that fails leaves the index where the next load finds the backup.
  for (int tries = 1; !CopyOver(BackupOf(folder), IndexOf(folder)); ++tries) {
    if (platform::LastError() != platform::kErrorSharingViolation || tries > kDeleteTries) {
      return false;
    }
    platform::SleepFor(kTryWaitMilliseconds);
  }
  TouchFile(IndexOf(folder));
  return true;
}

}  // namespace

bool RestoreIndexBackup(const std::string& folder) {
  if (!IndexBackupExists(folder)) return false;
  // Until the folder has been scanned nothing else tells that the index lags behind its messages.
  const bool marked = IsMarkedForScan(folder);
  if (!marked) MarkFolderForScan(folder);
  const bool restored = PutBackupInPlace(folder);
  const std::int32_t error = platform::LastError();
  if (!restored && !marked) static_cast<void>(platform::DeleteFile(ChangeFlagOf(folder)));
  platform::SetLastError(error);
  return restored;
}

bool DiscardIndex(const std::string& folder) {
  if (!platform::FileExists(IndexOf(folder))) return true;
  if (!CopyOver(IndexOf(folder), BadOf(folder))) {
    return platform::MoveFile(IndexOf(folder), BadOf(folder), true);
  }
  for (int tries = 1; !platform::DeleteFile(IndexOf(folder)); ++tries) {
    if (tries == kDiscardTries) return false;
    platform::SleepFor(kTryWaitMilliseconds);
  }
  return true;
}

void DeleteIndexBackup(const std::string& folder) {
  static_cast<void>(EndException([&] { DeleteWithRetry(BackupOf(folder), 1, kDeleteTries); },
                                 [](const ExceptionDetails& details) {
                                   ReportException(FormatExceptionReport(
                                       "IndexXMLDeleteBackupSerialisation", CV_HERE, details));
                                 }));
}

}  // namespace corvane
