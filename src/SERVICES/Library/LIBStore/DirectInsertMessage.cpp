#include "SERVICES/Library/LIBStore/DirectInsertMessage.h"

#include "SERVICES/Library/LIBAppNotify/NotificationStream.h"
#include "SERVICES/Library/LIBAppNotify/NotifyClients.h"
#include "SERVICES/Library/LIBStore/FolderFlags.h"
#include "SERVICES/Library/LIBStore/MarkFolderChanged.h"
#include "SERVICES/Library/LIBStore/StorePaths.h"
#include "SERVICES/Library/LIBStoreLibrary/StoreLibrary.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"
#include "platform/Thread.h"
#include "records/search/SearchRequests.h"

namespace corvane {
namespace {

// The bare word goes out with the whole of its buffer; readers of the stream expect it.
constexpr char kCommit[256] = "COMMIT";
constexpr std::int32_t kCommitLength = sizeof kCommit - 1;
constexpr std::int32_t kUpToItsEnd = -1;
constexpr std::uint64_t kBytesInKb = 1024;

struct Insertion {
  const std::string& postoffice;
  const std::string& mailbox;
  const std::string& folder;
  const std::string& item;
  std::string mailboxPath{};
  std::string index{};
};

bool IsTooBigForInsertion(const std::string& index) {
  const std::uint32_t stored = settings::Get(settings::kIndexInjectionSizeLimit);
  const std::uint32_t limit =
      stored == 0 ? settings::kIndexInjectionSizeLimit.defaultValue : stored;
  const auto info = platform::GetFileInfo(index);
  return info && info->size / kBytesInKb >= limit;
}

void SignalFolder(const Insertion& insertion, const char* stream, std::int32_t length) {
  NotifyClients(nullptr, insertion.mailboxPath, "", "", -1, "", 0, insertion.folder, "", nullptr, 0,
                stream, length);
}

void AskForCommit(const Insertion& insertion) {
  if (DebugLevelAbove(7)) {
    LogDebugF(
        "[%ld] Notifying other connections to COMMIT prior to Direct Inserting [%s] Notification "
        "Root= (%s).\n",
        static_cast<long>(platform::CurrentThreadId()), insertion.item.c_str(),
        insertion.mailboxPath.c_str());
  }
  SignalFolder(insertion, kCommit, kCommitLength);
}

std::int32_t Insert(const Insertion& insertion) {
  const long thread = platform::CurrentThreadId();
  const bool log = DebugLevelAbove(7);
  if (log) {
    LogDebugF("[%ld] Starting Direct Inserting [%s] into index (%s).\n", thread,
              insertion.item.c_str(), insertion.index.c_str());
  }
  const std::int32_t result =
      Lib_Direct_StoreIndex_InsertItem(insertion.postoffice.c_str(), insertion.mailbox.c_str(),
                                       insertion.folder.c_str(), insertion.item.c_str());
  if (log) {
    LogDebugF(result == 1 ? "[%ld] Completed Direct Inserting [%s] into index (%s).\n"
                          : "[%ld] Failed Direct Inserting [%s] into index (%s).\n",
              thread, insertion.item.c_str(), insertion.index.c_str());
  }
  return result;
}

void TellClients(const Insertion& insertion) {
  const std::string stream =
      BuildNotificationStream({kActionAdd, "MSG", insertion.postoffice, insertion.mailbox,
                               insertion.folder, "", insertion.item});
  SignalFolder(insertion, stream.c_str(), kUpToItsEnd);
  if (DebugLevelAbove(7)) {
    LogDebugF("[%ld] Notification dispatched to connected clients.\n",
              static_cast<long>(platform::CurrentThreadId()));
  }
}

}  // namespace

std::int32_t DirectInsertMessage(const std::string& postoffice, const std::string& mailbox,
                                 const std::string& folder, const std::string& action,
                                 const std::string& item, bool notifyCommit, bool dispatchAdd) {
  Insertion insertion{postoffice, mailbox, folder, item};
  insertion.mailboxPath = GetPostofficeRoot(postoffice) + "\\MAILROOT\\" + mailbox;
  const std::string directory = insertion.mailboxPath + "\\" + folder;
  insertion.index = directory + "\\_index.xml";
  if (IsFolderFlagSet(directory, FolderFlag::kChanged)) {
    RequestSearchItem("Item", postoffice, mailbox, "Add", folder, item);
    return 1;
  }
  if (IsTooBigForInsertion(insertion.index)) {
    WriteFolderFlag(directory, FolderFlag::kTooBigForInsert);
    return 1;
  }
  if (!platform::EqualsNoCase(action, kActionAdd)) return 1;
  if (notifyCommit) AskForCommit(insertion);
  const std::int32_t result = Insert(insertion);
  if (result == 1) {
    if (dispatchAdd) TellClients(insertion);
  } else {
    // The library marks the folder itself where it got as far as that.
    WriteFolderFlag(directory, FolderFlag::kChanged);
  }
  return result;
}

}  // namespace corvane
