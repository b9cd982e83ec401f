#include "SERVICES/Library/LIBMessageIndex/FolderScan.h"

#include <atomic>

#include "SERVICES/Library/LIBFileLock/IndexBlockFile.h"
#include "SERVICES/Library/LIBMessageIndex/FolderBrand.h"
#include "SERVICES/Library/LIBMessageIndex/FolderDetailsFile.h"
#include "SERVICES/Library/LIBMessageIndex/IndexFile.h"
#include "SERVICES/Library/LIBMessageIndex/IndexHeaders.h"
#include "SERVICES/Library/LIBMessageIndex/ItemFiller.h"
#include "SERVICES/Library/LIBMessageIndex/MessageHeaders.h"
#include "SERVICES/Library/LIBStoreIndexCore/ChangeFlag.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexBackup.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"
#include "connector/logs/ExceptionReport.h"
#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/Path.h"
#include "platform/Reports.h"
#include "platform/WholeFile.h"

namespace corvane {
namespace {

constexpr std::size_t kSocketEvery = 100;
constexpr std::size_t kSocketBytes = 255;
constexpr std::uint64_t kBytesInKb = 1024;
std::atomic<ScanProgress> scanProgress{nullptr};

struct NamedIds {
  PropertyId modifiedDate = FindProperty(nullptr, "MODIFIEDDATE");
  PropertyId size = FindProperty(nullptr, "SIZE");
};

enum class ScanResult : std::uint8_t { kSaved, kNotSaved, kAbandoned, kNotListed };

// One scan of one folder.
class FolderScan {
 public:
  FolderScan(SORTEDSTOREINDEXTYPE* index, const std::string& folder, FolderListing* listing,
             bool isNew, platform::ClientSocket* socket)
      : index_(index),
        folder_(folder),
        listing_(listing),
        isNew_(isNew),
        socket_(socket),
        brand_(FolderBrand(folder)),
        uidCounter_(index->LastUID) {}

  ScanResult Run() {
    if (socket_ != nullptr) static_cast<void>(socket_->SetBlocking(false));
    const ScanResult result = Scan();
    if (socket_ != nullptr && !socket_->SetBlocking(true)) {
      platform::PrintConsole("ScanFoldersOrdered::Unable to change socket to BLOCKING\r\n");
    }
    return result;
  }

 private:
  ScanResult Scan() {
    if (!listing_->Look()) return ScanResult::kNotListed;
    if (!Walk()) return ScanResult::kAbandoned;
    return Finish() ? ScanResult::kSaved : ScanResult::kNotSaved;
  }

  // False when the client has gone.
  bool Walk() {
    std::size_t number = 0;
    const ScanProgress progress = scanProgress.load();
    const std::vector<platform::FoundFile>& files = listing_->Files();
    for (const platform::FoundFile& file : files) {
      if (++number % kSocketEvery == 0) {
        if (ClientHasGone()) return false;
        if (progress != nullptr) progress(number, files.size());
      }
      totalSize_ += file.info.size;
      Take(file);
    }
    return true;
  }

  bool ClientHasGone() {
    if (socket_ == nullptr) return false;
    char bytes[kSocketBytes];
    const std::int64_t got = socket_->Receive(bytes, sizeof bytes);
    if (got > 0 || (got < 0 && platform::LastError() == platform::kErrorWouldBlock)) return false;
    LogDebugF("Socket: %ld was disconnected while re-indexing folder. Reindexing aborted.\n",
              static_cast<long>(socket_->Handle()));
    return true;
  }

  void Take(const platform::FoundFile& file) {
    IndexItemPropertyContainer* item = index_->ByID.Find(file.name);
    if (item == nullptr) {
      AddNew(file);
      return;
    }
    const std::uint32_t date = item->GetNumber(ids_.modifiedDate);
    if (date == ToModifiedDate(file.info.lastWriteTime) &&
        item->GetNumber(ids_.size) == static_cast<std::uint32_t>(file.info.size)) {
      return;
    }
    IndexItem handle;
    handle.Attach(item, false);
    RefreshFile(&handle, folder_, file, brand_, date == 0);
  }

  void AddNew(const platform::FoundFile& file) {
    if (IndexNewFile(index_, folder_, file, true, brand_, &uidCounter_) == 0) return;
    if (branding_) added_.push_back(&file);
  }

  // Headers that carried what the index knows now are taken out again, but not before the index
  // stands: until then they are the only place that has the flags.
  void StripAdded() {
    for (const platform::FoundFile* file : added_) {
      if (StripIndexHeaders(folder_, file->name) != RewriteResult::kRewritten) continue;
      const auto info = platform::GetFileInfo(platform::JoinPath(folder_, file->name));
      IndexItemPropertyContainer* item = index_->ByID.Find(file->name);
      if (!info || item == nullptr) continue;
      item->SetNumber(ids_.size, static_cast<std::uint32_t>(info->size));
      item->SetNumber(ids_.modifiedDate, ToModifiedDate(info->lastWriteTime));
    }
  }

  bool Save() { return index_->Save(folder_, kClassMail, true) && index_->LastSaveWorked(); }

  bool Finish() {
    static_cast<void>(platform::WriteWholeFile(folder_ + "\\_DIRSIZE.TMP",
                                               std::to_string(totalSize_ / kBytesInKb), true,
                                               platform::Durability::kNone));
    bool saved = (!isNew_ && !index_->NeedsSave()) || Save();
    if (saved) StripAdded();
    if (saved && index_->NeedsSave()) saved = Save();
    if (saved) AnswerChangeFlag();
    FolderDetails details;
    if (index_->GetFolderDetails(&details)) {
      static_cast<void>(WriteFolderDetailsFile(folder_, details));
    }
    if (saved && isNew_) {
      static_cast<void>(
          platform::SetLastWriteTime(IndexFilePath(folder_, kClassMail), platform::NowSeconds()));
      index_->FileTime = IndexFileTime(folder_, kClassMail);
    }
    return saved;
  }

  // A message that came in while the folder was read may have found the flag standing: it goes
  // first, and comes back when the folder then holds more than the index.
  void AnswerChangeFlag() {
    const std::string flag = folder_ + "\\_CHANGE.DTY";
    if (!platform::DeleteFile(flag)) return;
    MessageFileWalk walk(folder_);
    bool isBehind = false;
    for (auto found = walk.Next(); found && !isBehind; found = walk.Next()) {
      isBehind = IsNewFile(*found);
    }
    if (isBehind || walk.Failed()) MarkFolderForScan(folder_);
  }

  [[nodiscard]] bool IsNewFile(const platform::FoundFile& file) {
    return !listing_->Has(file.name) &&
           !platform::DirectoryExists(platform::JoinPath(folder_, file.name));
  }

  SORTEDSTOREINDEXTYPE* index_;
  const std::string folder_;
  FolderListing* listing_;
  const bool isNew_;
  platform::ClientSocket* socket_;
  const NamedIds ids_;
  const std::uint32_t brand_;
  std::uint32_t uidCounter_;
  const bool branding_ = settings::Get(settings::kUidBrandingEnabled) != 0;
  std::vector<const platform::FoundFile*> added_;  // while messages carry headers of the index
  std::uint64_t totalSize_ = 0;
};

void ClearRecentFlags(SORTEDSTOREINDEXTYPE* index) {
  for (IndexItemPropertyContainer* item : index->Sequence) {
    IndexItem handle;
    handle.Attach(item, false);
    RemoveRecentFlag(&handle);
  }
}

enum class Found : std::uint8_t { kIndex, kNone, kUnreadable };

// Loads what is there. What breaks the format is kept aside, and all is built anew.
Found LoadForScan(SORTEDSTOREINDEXTYPE* index, const std::string& folder, FolderListing* listing,
                  bool recover) {
  index->ResetToEmpty();
  if (!IndexFileExists(folder, kClassMail)) return Found::kNone;
  IndexLoad load;
  load.path = folder;
  load.alreadyLocked = true;
  load.verifyFiles = 1;
  load.listing = listing;
  load.useChangeFlag = false;
  load.recover = recover;
  if (index->Load(load)) return Found::kIndex;
  if (!index->FileIsMalformed) return Found::kUnreadable;
  static_cast<void>(DiscardIndex(folder));
  index->ResetToEmpty();
  return Found::kNone;
}

std::int32_t ScanLocked(SORTEDSTOREINDEXTYPE* index, const std::string& folder, bool clearRecent,
                        platform::ClientSocket* socket, bool recover) {
  FolderListing listing(folder);
  const Found found = LoadForScan(index, folder, &listing, recover);
  if (found == Found::kUnreadable) return 0;
  if (clearRecent) ClearRecentFlags(index);
  const ScanResult result =
      FolderScan(index, folder, &listing, found == Found::kNone, socket).Run();
  return result == ScanResult::kSaved || result == ScanResult::kAbandoned ? 1 : 0;
}

}  // namespace

void SetScanProgress(ScanProgress progress) { scanProgress = progress; }

std::int32_t ScanFoldersOrdered(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                                bool clearRecent, platform::ClientSocket* socket,
                                std::int32_t lockMode, bool recover) {
  if (index == nullptr || folder.empty()) return 0;
  const bool locks = lockMode != kAlreadyLocked;
  const std::string block = folder + "\\_index.blk";
  platform::File handle;
  if (locks && WaitForAccessToIndexFileEx(block, lockMode, &handle) != 1) return 1;
  std::int32_t result = 0;
  static_cast<void>(
      EndException([&] { result = ScanLocked(index, folder, clearRecent, socket, recover); },
                   [](const ExceptionDetails& details) {
                     ReportException(FormatExceptionReport("ScanFoldersOrdered", CV_HERE, details));
                   }));
  if (locks) UnBlockIndexFileAccessEx(block, 1, &handle);
  return result;
}

std::int32_t ScanFoldersEx(StoreIndex* store, bool clearRecent, platform::ClientSocket* socket,
                           std::int32_t lockMode) {
  if (store == nullptr || store->FolderPath.empty()) return 0;
  std::int32_t result = 0;
  static_cast<void>(EndException(
      [&] {
        result = ScanFoldersOrdered(&store->Index, store->FolderPath, clearRecent, socket, lockMode,
                                    false);
      },
      [](const ExceptionDetails& details) {
        ReportException(FormatExceptionReport("ScanFoldersEx", CV_HERE, details));
      }));
  return result;
}

std::int32_t ScanLoadedFolder(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                              FolderListing* listing) {
  const bool isNew = !IndexFileExists(folder, kClassMail);
  if (FolderScan(index, folder, listing, isNew, nullptr).Run() != ScanResult::kNotListed) {
    return kAllProperties;
  }
  index->UnInit();
  return kNotLoaded;
}

}  // namespace corvane
