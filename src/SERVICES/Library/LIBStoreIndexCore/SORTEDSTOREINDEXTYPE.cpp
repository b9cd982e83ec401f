#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"

#include <algorithm>

#include "SERVICES/Library/LIBStoreIndexCore/StoreIndex.h"
#include "connector/logs/ExceptionReport.h"

namespace corvane {
namespace {

std::vector<std::string> SplitList(std::string_view list) {
  std::vector<std::string> parts;
  while (!list.empty()) {
    const std::size_t comma = std::min(list.find(','), list.size());
    if (comma > 0) parts.emplace_back(list.substr(0, comma));
    list.remove_prefix(std::min(comma + 1, list.size()));
  }
  return parts;
}

}  // namespace

SORTEDSTOREINDEXTYPE::~SORTEDSTOREINDEXTYPE() { UnInit(); }

void SORTEDSTOREINDEXTYPE::UnInit() {
  static_cast<void>(EndException(
      [this] {
        for (IndexItemPropertyContainer* item : Sequence) {
          if (item->GetOwner() != nullptr) delete item;  // the others are among the removed
        }
        ForgetRemoved();
        Sequence = {};
        ByUID.clear();
        ByID.Clear();
        Memory.Clear();
        LoadState = kNotLoaded;
        FileInSync = false;
        LastUID = FirstModifiedUID = LastModifiedUID = FileLastUID = 0;
        FullRewrite = false;
        FileTime = 0;
        ByUID = ItemsByUID();  // with memory of its own
      },
      [](const ExceptionDetails& details) {
        ReportException(FormatExceptionReport("SORTEDSTOREINDEXTYPE::UnInit", CV_HERE, details));
      }));
}

void SORTEDSTOREINDEXTYPE::ForgetRemoved() {
  for (IndexItemPropertyContainer* item : Removed) delete item;
  Removed.clear();
}

void SORTEDSTOREINDEXTYPE::ResetToEmpty() {
  UnInit();
  LoadState = kAllProperties;
}

// ---- items

bool SORTEDSTOREINDEXTYPE::InsertItem(IndexItemPropertyContainer* item, bool keepUID) {
  std::uint32_t uid = item->GetNumber(kPropertyUID);
  if (uid > kLargestUid || (uid == 0 && LastUID >= kLargestUid)) return false;
  if (uid > LastUID) {
    LastUID = uid;
  } else if (uid == 0) {
    uid = NextUID();
    item->SetNumber(kPropertyUID, uid);
  }
  if (!ByID.Insert(item)) return false;
  auto entered = ByUID.emplace_hint(ByUID.end(), uid, item);
  if (entered->second != item) {
    if (keepUID) {
      ByID.Erase(item->TextView(kPropertyID));
      return false;
    }
    for (std::uint32_t key = uid + 1; entered->second != item; ++key) {
      entered = ByUID.emplace(key, item).first;
    }
  }
  item->SetOwner(this);
  return true;
}

void SORTEDSTOREINDEXTYPE::AppendToSequence(IndexItemPropertyContainer* item) {
  Sequence.push_back(item);
  item->SetNumber(PropertySEQ(), static_cast<std::uint32_t>(Sequence.size()));
}

void SORTEDSTOREINDEXTYPE::SequenceFromUIDs() {
  Sequence.clear();
  Sequence.reserve(ByUID.size());
  for (const auto& [uid, item] : ByUID) AppendToSequence(item);
}

bool SORTEDSTOREINDEXTYPE::AddItem(IndexItem* handle) {
  IndexItemPropertyContainer* item = handle->Container();
  if (item == nullptr || !InsertItem(item, false)) return false;
  AppendToSequence(item);
  NoteModifiedUID(item->GetNumber(kPropertyUID));
  handle->Release();
  return true;
}

// An item that is being emptied has no UID for a moment; 0 would forget what was noted before.
void SORTEDSTOREINDEXTYPE::NoteModifiedUID(std::uint32_t uid) {
  if (uid == 0) return;
  if (FirstModifiedUID == 0 || uid < FirstModifiedUID) FirstModifiedUID = uid;
  LastModifiedUID = std::max(LastModifiedUID, uid);
}

// What was changed above the removed item stays covered.
void SORTEDSTOREINDEXTYPE::MarkRemoved(IndexItemPropertyContainer* item) {
  const std::uint32_t uid = item->GetNumber(kPropertyUID);
  if (uid == FirstModifiedUID) {
    const auto next = ByUID.upper_bound(uid);
    FirstModifiedUID = next != ByUID.end() && next->first <= LastModifiedUID ? next->first : 0;
    if (FirstModifiedUID == 0) LastModifiedUID = 0;
  }
  Removed.push_back(item);
  item->SetDictionary(nullptr);
  item->SetOwner(nullptr);
}

// Its key may differ from its UID.
void SORTEDSTOREINDEXTYPE::EraseUID(IndexItemPropertyContainer* item) {
  auto entry = ByUID.lower_bound(item->GetNumber(kPropertyUID));
  while (entry != ByUID.end() && entry->second != item) ++entry;
  if (entry != ByUID.end()) ByUID.erase(entry);
}

std::size_t SORTEDSTOREINDEXTYPE::RemoveItems(std::string_view idList) {
  return RemoveItems(SplitList(idList));
}

std::size_t SORTEDSTOREINDEXTYPE::RemoveItems(const std::vector<std::string>& ids) {
  if (!EnsureLoaded(kKeys)) return 0;
  std::size_t number = 0;
  for (const std::string& id : ids) {
    IndexItemPropertyContainer* item = ByID.Find(id);
    if (item == nullptr) continue;
    MarkRemoved(item);
    EraseUID(item);
    ByID.Erase(id);
    ++number;
  }
  if (number == 0) return 0;
  // Whoever has no owner any more has left.
  std::vector<IndexItemPropertyContainer*> kept;
  kept.reserve(Sequence.size() - number);
  kept.swap(Sequence);
  for (IndexItemPropertyContainer* item : kept) {
    if (item->GetOwner() != nullptr) AppendToSequence(item);
  }
  return number;
}

bool SORTEDSTOREINDEXTYPE::ItemExists(std::string_view id) {
  return EnsureLoaded(kKeys) && ByID.Find(id) != nullptr;
}

bool SORTEDSTOREINDEXTYPE::GetItemByID(std::string_view id, IndexItem* handle, bool clone) {
  IndexItemPropertyContainer* item = EnsureLoaded(kAllProperties) ? ByID.Find(id) : nullptr;
  handle->Attach(item, clone);
  return item != nullptr;
}

bool SORTEDSTOREINDEXTYPE::GetItemByProperty(const char* name, std::string_view value,
                                             IndexItem* handle, bool clone) {
  handle->Drop();
  if (!EnsureLoaded(kAllProperties)) return false;
  const PropertyId id = FindProperty(nullptr, name);
  const auto found = std::find_if(Sequence.begin(), Sequence.end(),
                                  [&](const auto* item) { return item->GetText(id) == value; });
  if (found == Sequence.end()) return false;
  handle->Attach(*found, clone);
  return true;
}

// ---- loading and saving

bool SORTEDSTOREINDEXTYPE::Load(const IndexLoad& load) {
  IndexLoad wanted = load;
  if (files_->WriterNeedsAll()) {
    // What can't be written in part must be read whole.
    wanted.level = kAllProperties;
    wanted.keyFilter.clear();
  }
  bool reached = false;
  if (wanted.skipIfLoaded && IsLoaded()) {
    reached = true;
  } else if (wanted.messageClass == kClassContactsAndGroups) {
    IndexLoad part = wanted;
    part.messageClass = kClassContacts;
    reached = LoadOne(part, false);
    const std::int32_t contacts = LoadState;
    part.messageClass = kClassGroups;
    part.useChangeFlag = part.forceRescan = part.recover = false;
    reached = reached && LoadOne(part, true);
    LoadState = std::min(contacts, LoadState);
  } else {
    reached = LoadOne(wanted, false);
  }
  Arguments = wanted;
  Arguments.listing = nullptr;
  return reached;
}

bool SORTEDSTOREINDEXTYPE::LoadOne(const IndexLoad& load, bool append) {
  if (load.store != nullptr) load.store->FolderPath = load.path;
  const FolderIndexLock lock(load.store, load.path, load.alreadyLocked);
  if (!lock.IsHeld()) return false;
  KeyFilter = load.keyFilter;
  LoadState = files_->Read(this, {.path = load.path,
                                  .messageClass = load.messageClass,
                                  .keyFilter = load.keyFilter,
                                  .level = load.level,
                                  .append = append,
                                  .verifyFiles = load.verifyFiles,
                                  .listing = load.listing,
                                  .useChangeFlag = load.useChangeFlag,
                                  .forceRescan = load.forceRescan,
                                  .quiet = !load.recover});
  return LoadState >= load.level;
}

bool SORTEDSTOREINDEXTYPE::EnsureLoaded(std::int32_t level) {
  if (LoadState >= level) return true;
  IndexLoad deeper = Arguments;
  deeper.level = level;
  deeper.skipIfLoaded = false;
  if (!HasPendingChanges()) return Load(deeper);
  const FolderIndexLock lock(deeper.store, deeper.path, deeper.alreadyLocked);
  return lock.IsHeld() && CompleteFromFile(deeper.path, deeper.messageClass) && LoadState >= level;
}

bool SORTEDSTOREINDEXTYPE::WriteChanges(const std::string& path, std::int32_t messageClass) {
  if (files_->Write(this, path, messageClass) == 0) return false;
  ForgetRemoved();
  FirstModifiedUID = LastModifiedUID = 0;
  FullRewrite = false;
  FileTime = files_->FileTime(path, messageClass);
  return true;
}

bool SORTEDSTOREINDEXTYPE::Save(const std::string& path, std::int32_t messageClass,
                                bool alreadyLocked) {
  lastSaveWorked_ = false;
  const FolderIndexLock lock(Store, path, alreadyLocked);
  if (!lock.IsHeld()) return false;
  lastSaveWorked_ = WriteChanges(path, messageClass);
  return true;
}

}  // namespace corvane
