#include "SERVICES/Library/LIBStore/MarkFolderChanged.h"

#include "SERVICES/Library/LIBStore/DirectInsertMessage.h"
#include "SERVICES/Library/LIBStore/FolderFlags.h"
#include "SERVICES/Library/LIBStore/ReindexFolder.h"
#include "SERVICES/Library/LIBStore/StorePaths.h"
#include "connector/settings/Settings.h"
#include "platform/Reports.h"

namespace corvane {
namespace {

enum Mode : std::uint32_t { kFlag = 0, kReindex = 2, kReindexAndCache = 3, kInsert = 4 };

}  // namespace

std::int32_t MarkFolderChanged(const std::string& postoffice, const std::string& mailbox,
                               const std::string& folder, const std::string& action,
                               const std::string& item, bool notifyCommit, bool dispatchAdd) {
  const std::uint32_t mode = settings::Get(settings::kStoreEventNotificationMode);
  const std::string path =
      GetPostofficeRoot(postoffice).append("\\MAILROOT\\").append(mailbox).append("\\") + folder;
  if (mode == kFlag) {
    WriteFolderFlag(path, FolderFlag::kChanged);
    platform::PrintConsoleF("Folder=%s::Folder Made Dirty to notify clients\n", path.c_str());
    return 1;
  }
  if (settings::Get(settings::kIndexFilesEnabled) != 1) return 1;
  if (mode == kInsert) {
    const std::int32_t result =
        DirectInsertMessage(postoffice, mailbox, folder, action, item, notifyCommit, dispatchAdd);
    return result == 1 ? 1 : 0;  // what else a library may answer is a failure too
  }
  if (mode == kReindex || mode == kReindexAndCache) ReindexFolder(path);
  if (mode == kReindexAndCache) WriteFolderFlag(path, FolderFlag::kCached);
  return 1;
}

}  // namespace corvane
