// SORTEDSTOREINDEXTYPE.h -- the index of one folder in memory.
//
// All items by position, by UID and by ID, with the folder's LASTUID and what has changed since the
// file was read. It is read as deep as the caller needs: only the header, only the keys, or all;
// an operation that needs more reads it. An object lives for one operation on one thread: made,
// loaded, changed, saved, destroyed; the file is the only shared state.
//
// What was changed is never lost to a deeper load or to a save of a partly loaded index: the two
// are brought together first (CompleteIndex.cpp).
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexCore/FolderDetails.h"
#include "SERVICES/Library/LIBStoreIndexCore/IndexFiles.h"
#include "SERVICES/Library/LIBStoreIndexCore/ItemList.h"
#include "SERVICES/Library/LIBStoreIndexCore/ItemsByID.h"
#include "SERVICES/Library/LIBStoreIndexType/IndexItem.h"
#include "SERVICES/Library/LIBStoreIndexType/ItemMemory.h"

namespace corvane {

struct StoreIndex;

// "*" in a range.
inline constexpr std::uint32_t kUidStar = 0xFFFFFFFF;
// UIDs are compared as signed numbers.
inline constexpr std::uint32_t kLargestUid = 0x7FFFFFFF;

// The arguments of a load.
struct IndexLoad {
  StoreIndex* store = nullptr;  // needed for the lock; null only with alreadyLocked
  std::string path;
  std::int32_t messageClass = kClassMail;
  std::string keyFilter;
  bool skipIfLoaded = false;
  bool alreadyLocked = false;
  std::int32_t level = kAllProperties;
  std::int32_t verifyFiles = 0;
  FolderListing* listing = nullptr;  // as in IndexRead; for this load alone
  bool useChangeFlag = true;
  bool forceRescan = false;
  bool recover = false;
};

class SORTEDSTOREINDEXTYPE final : public IndexItemOwner {
 public:
  explicit SORTEDSTOREINDEXTYPE(IndexFiles* files) : files_(files) {}
  ~SORTEDSTOREINDEXTYPE();
  SORTEDSTOREINDEXTYPE(const SORTEDSTOREINDEXTYPE&) = delete;
  SORTEDSTOREINDEXTYPE& operator=(const SORTEDSTOREINDEXTYPE&) = delete;

  // Loading and saving. Load and EnsureLoaded: true when LoadState has reached the level. Save:
  // true when the lock was obtained; whether the file was written is LastSaveWorked.
  bool Load(const IndexLoad& load);
  bool EnsureLoaded(std::int32_t level);
  [[nodiscard]] bool IsLoaded() const { return LoadState != kNotLoaded; }
  bool Save(const std::string& path, std::int32_t messageClass, bool alreadyLocked);
  [[nodiscard]] bool LastSaveWorked() const { return lastSaveWorked_; }
  void MarkFullRewrite() { FullRewrite = true; }
  // There is something that the file hasn't got.
  [[nodiscard]] bool NeedsSave() const { return FullRewrite || HasPendingChanges(); }
  // Empties the index, which then is not loaded. KeyFilter stays.
  void UnInit();
  // Empties the index, which then is known to be empty and complete.
  void ResetToEmpty();

  // Items. The index takes the container over when it was added; otherwise the handle keeps it. An
  // ID that is there already is refused, and a UID beyond the largest.
  bool AddItem(IndexItem* handle);
  // Enters the maps alone. A UID that is taken is refused with `keepUID`, and otherwise makes way:
  // the item is found under the next free one, and its own UID property stays.
  bool InsertItem(IndexItemPropertyContainer* item, bool keepUID);
  // Puts an item that was entered at the end of the folder's order.
  void AppendToSequence(IndexItemPropertyContainer* item);
  // The folder's order by rising UID.
  void SequenceFromUIDs();
  std::uint32_t NextUID() { return ++LastUID; }
  [[nodiscard]] std::uint32_t GetLastUID() const { return LastUID; }
  void NoteModifiedUID(std::uint32_t uid) override;
  void MarkRemoved(IndexItemPropertyContainer* item);
  // The items of a comma-separated list, or of a list, which may hold names with commas. The number
  // that was there.
  std::size_t RemoveItems(std::string_view idList);
  std::size_t RemoveItems(const std::vector<std::string>& ids);
  [[nodiscard]] std::size_t ItemCount() const { return Sequence.size(); }
  [[nodiscard]] bool ItemExists(std::string_view id);
  // False, and an empty handle, when there is none.
  bool GetItemByID(std::string_view id, IndexItem* handle, bool clone);
  bool GetItemByProperty(const char* name, std::string_view value, IndexItem* handle, bool clone);

  // Views and counts.
  void GetAllItems(ItemList* list, bool clone);
  // A range of UIDs, as IMAP has it: kUidStar stands for the highest. `first` becomes the highest
  // UID when it lay above all and `last` is the star.
  void GetItemsByUID(ItemList* list, std::uint32_t* first, std::uint32_t last, bool clone,
                     const std::vector<std::string>* fields);
  // Positions from 0, both ends included; -1 and what lies beyond stand for the ends.
  void GetItemsBySequence(ItemList* list, std::int64_t first, std::int64_t last, bool clone);
  bool GetFolderDetails(FolderDetails* details);
  [[nodiscard]] std::uint32_t CountLeadingUnseen();

  // Below level 4, or with a filter: there is more in the file than in memory.
  [[nodiscard]] bool IsPartial() const { return LoadState < kAllProperties || IsFiltered(); }
  [[nodiscard]] bool IsFiltered() const { return !KeyFilter.empty(); }
  // Reads the whole file and puts this object's items and changes in their places. False, with
  // nothing changed, when the file can't be read. The lock is held.
  bool CompleteFromFile(const std::string& path, std::int32_t messageClass);

  // State. The readers and writers of the file work on it.
  ItemMemory Memory;  // of the items that were read
  std::vector<IndexItemPropertyContainer*> Sequence;
  using ItemsByUID =
      std::map<std::uint32_t, IndexItemPropertyContainer*, std::less<>,
               NodeAllocator<std::pair<const std::uint32_t, IndexItemPropertyContainer*>>>;
  ItemsByUID ByUID;
  ItemsByID ByID;
  std::list<IndexItemPropertyContainer*> Removed;
  std::int32_t LoadState = kNotLoaded;
  bool FileInSync = false;  // Offset and Length of the items are true
  StoreIndex* Store = nullptr;
  IndexLoad Arguments;  // of the last load
  std::uint32_t LastUID = 0;
  std::uint32_t FirstModifiedUID = 0;  // 0 none
  std::uint32_t LastModifiedUID = 0;
  bool FullRewrite = false;
  std::int64_t FileTime = 0;  // nanoseconds since 1970, of the file when it was read
  std::uint64_t FileSize = 0;
  std::uint32_t FileLastUID = 0;  // the header's LASTUID when it was read
  bool FileIsMalformed = false;   // what made the last reading fail is the file's content
  std::string KeyFilter;          // the filter in force

 private:
  friend class IndexCompletion;

  bool LoadOne(const IndexLoad& load, bool append);
  [[nodiscard]] bool HasPendingChanges() const { return FirstModifiedUID != 0 || !Removed.empty(); }
  // No element of theirs waits to be cleared any more.
  void ForgetRemoved();
  void EraseUID(IndexItemPropertyContainer* item);
  bool WriteChanges(const std::string& path, std::int32_t messageClass);

  IndexFiles* files_;
  bool lastSaveWorked_ = false;
};

}  // namespace corvane
