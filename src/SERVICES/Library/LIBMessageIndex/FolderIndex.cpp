#include "SERVICES/Library/LIBMessageIndex/FolderIndex.h"

#include <algorithm>
#include <functional>

#include "SERVICES/Library/LIBMessageIndex/FolderBrand.h"
#include "SERVICES/Library/LIBMessageIndex/IndexFile.h"
#include "SERVICES/Library/LIBMessageIndex/MessageIndexFiles.h"
#include "SERVICES/Library/LIBStoreIndexCore/ChangeFlag.h"
#include "SERVICES/Library/LIBStoreIndexCore/FolderListing.h"
#include "SERVICES/Library/LIBStoreIndexCore/StoreIndex.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "connector/settings/Settings.h"
#include "platform/Path.h"

namespace corvane {
namespace {

constexpr std::uint64_t kLookedAtEnd = 65'536;

// The lock of a folder and its index, for one change.
class FolderChange {
 public:
  explicit FolderChange(const std::string& folder)
      : folder_(folder), store_(MessageIndexFiles()), lock_(&store_, folder, false) {}

  [[nodiscard]] bool IsLocked() const { return lock_.IsHeld(); }
  [[nodiscard]] SORTEDSTOREINDEXTYPE& Index() { return store_.Index; }

  [[nodiscard]] bool Load(std::int32_t level, const std::string& keyFilter, bool useChangeFlag) {
    IndexLoad load;
    load.store = &store_;
    load.path = folder_;
    load.keyFilter = keyFilter;
    load.alreadyLocked = true;
    load.level = level;
    load.useChangeFlag = useChangeFlag;
    load.recover = true;
    return store_.Index.Load(load);
  }
  [[nodiscard]] bool Save() {
    return store_.Index.Save(folder_, kClassMail, true) && store_.Index.LastSaveWorked();
  }

 private:
  const std::string folder_;
  StoreIndex store_;
  const FolderIndexLock lock_;
};

// What a load is to hold for a change of these items: a filter is a list with commas, and empty it
// stands for all.
std::string FilterFor(const std::vector<std::string>& items) {
  std::string filter;
  for (const std::string& item : items) {
    if (item.empty() || item == "*" || item.find(',') != item.npos) return {};
    filter.append(filter.empty() ? "" : ",").append(item);
  }
  return filter;
}

// A scan that ran since the file came has taken it in already. Each scan leaves _DIRSIZE.TMP.
bool MayHaveBeenScanned(const std::string& folder, const platform::FoundFile& file) {
  const auto scan = platform::GetFileInfo(folder + "\\_DIRSIZE.TMP");
  return scan && scan->lastWriteTime >= file.info.creationTime;
}

// Loads what an insertion needs; false when that fails. `there`: the item is in the index already.
bool LoadForInsertion(FolderChange* change, const std::string& folder,
                      const platform::FoundFile& file, bool* there) {
  if (MayHaveBeenScanned(folder, file)) {
    if (!change->Load(kKeys, FilterFor({file.name}), true)) return false;
    *there = change->Index().ItemExists(file.name);
    if (*there || !change->Index().IsFiltered()) return true;
  }
  return change->Load(kHeaderOnly, {}, true);
}

// The highest UID among elements in their order; 0 when there is none.
std::uint32_t LastUidOf(std::string_view elements) {
  constexpr std::string_view kUid = " UID=\"";
  std::size_t at = elements.size();
  while (at != 0 && (at = elements.rfind(indexformat::kElementStart, at - 1)) != elements.npos) {
    const std::string_view tag = elements.substr(at, elements.find('>', at) - at);
    const std::size_t uid = tag.find(kUid);
    if (uid == tag.npos) continue;
    if (const std::uint32_t number = NumberOfText(tag.substr(uid + kUid.size()))) return number;
  }
  return 0;
}

// Whether an insertion has to know the keys. A message that is delivered again after a crash is
// among the last that were inserted, and a LASTUID that lags behind shows at the last element too:
// looking at all would cost as much as the folder holds.
bool NeedsKeys(const std::string& folder, const std::string& item, std::uint32_t lastUid) {
  auto file = platform::File::Open(IndexFilePath(folder, kClassMail), platform::Access::kRead,
                                   platform::kShareAll, platform::Disposition::kOpenExisting);
  const auto info = file ? file.Info() : std::nullopt;
  if (!info) return false;
  std::string end(std::min(info->size, kLookedAtEnd), '\0');
  if (!file.Seek(info->size - end.size())) return false;
  const std::int64_t got = file.Read(end.data(), end.size());
  end.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
  const std::string head = indexformat::ElementHead(item, {});
  const std::boyer_moore_horspool_searcher search(head.begin(), head.end());
  return search(end.begin(), end.end()).first != end.end() || LastUidOf(end) > lastUid;
}

bool Insert(FolderChange* change, const std::string& folder, const platform::FoundFile& file) {
  bool there = false;
  if (!change->IsLocked() || !LoadForInsertion(change, folder, file, &there)) return false;
  SORTEDSTOREINDEXTYPE& index = change->Index();
  if (index.LoadState == kHeaderOnly && NeedsKeys(folder, file.name, index.GetLastUID()) &&
      !change->Load(kKeys, {}, true)) {
    return false;
  }
  if (!there) {
    // Where all items are in memory, a second insertion of one is no change.
    const bool knowsItems = index.LoadState >= kKeys;
    std::uint32_t uidCounter = index.GetLastUID();
    const std::uint32_t brand =
        settings::Get(settings::kUidBrandingEnabled) == 0 ? 0 : FolderBrand(folder);
    if (IndexNewFile(&index, folder, file, !knowsItems, brand, &uidCounter) != 1) return false;
  }
  // A load that scanned the folder has taken it in, and mostly written it.
  return !index.NeedsSave() || change->Save();
}

}  // namespace

std::int32_t InsertIntoFolderIndex(const std::string& folder, const std::string& item) {
  const std::string path = platform::JoinPath(folder, item);
  const bool counts = platform::IsSafeName(item) && IsIndexedName(item);
  const auto info = counts ? platform::GetFileInfo(path) : std::nullopt;
  if (!info || info->directory) return 0;
  bool inserted = false;
  try {
    FolderChange change(folder);
    inserted = Insert(&change, folder, {item, *info});
  } catch (...) {
    MarkFolderForScan(folder);
    throw;
  }
  if (!inserted) MarkFolderForScan(folder);
  return inserted ? 1 : 0;
}

IndexChange RemoveFromFolderIndex(const std::string& folder, const std::vector<std::string>& items,
                                  std::size_t* removed) {
  FolderChange change(folder);
  if (!change.IsLocked() || !change.Load(kKeys, FilterFor(items), false)) {
    return IndexChange::kFailed;
  }
  *removed = change.Index().RemoveItems(items);
  if (*removed == 0) return IndexChange::kNotThere;
  return change.Save() ? IndexChange::kDone : IndexChange::kFailed;
}

IndexChange SetInFolderIndex(const std::string& folder, const std::string& item,
                             const std::string& name, const std::string& value) {
  FolderChange change(folder);
  if (!change.IsLocked() || !change.Load(kAllProperties, FilterFor({item}), false)) {
    return IndexChange::kFailed;
  }
  IndexItem handle;
  if (!change.Index().GetItemByID(item, &handle, false)) return IndexChange::kNotThere;
  handle.SetText(name.c_str(), value);
  return change.Save() ? IndexChange::kDone : IndexChange::kFailed;
}

}  // namespace corvane
