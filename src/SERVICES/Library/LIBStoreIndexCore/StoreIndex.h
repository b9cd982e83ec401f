// StoreIndex.h -- an index with its folder, its lock and a current item.
#pragma once

#include <cstdint>
#include <string>

#include "SERVICES/Library/LIBStoreIndexCore/FolderDetails.h"
#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"
#include "platform/File.h"

namespace corvane {

struct StoreIndex {
  explicit StoreIndex(IndexFiles* files) : Index(files) { Index.Store = this; }
  StoreIndex(const StoreIndex&) = delete;
  StoreIndex& operator=(const StoreIndex&) = delete;

  SORTEDSTOREINDEXTYPE Index;
  IndexItem CurrentItem;
  std::string FolderPath;      // set by each load
  platform::File BlockHandle;  // of _index.blk while the lock is held
  FolderDetails Details;
};

// Clears all fields. 1; 0, with a line on the console, for a null index.
std::int32_t StoreIndex_Init(StoreIndex* index, std::int32_t flags);
// Lets go of the current item and empties the index. 1; 0, with a report, for a null index.
std::int32_t StoreIndex_Reset(StoreIndex* index);
// The same, and closes the handle. 1; 0 for a null index.
std::int32_t StoreIndex_Release(StoreIndex* index);

// The lock of the folder, _index.blk in it, with its handle kept in the StoreIndex.
[[nodiscard]] bool LockFolderIndex(StoreIndex* index, const std::string& folder);
void UnlockFolderIndex(StoreIndex* index, const std::string& folder);

// The same for a scope: the lock is given back whatever ends the work.
class FolderIndexLock {
 public:
  // With `alreadyLocked` the caller has it. Not held without an index.
  FolderIndexLock(StoreIndex* index, const std::string& folder, bool alreadyLocked)
      : index_(alreadyLocked ? nullptr : index),
        folder_(folder),
        held_(alreadyLocked || (index != nullptr && LockFolderIndex(index, folder))) {}
  ~FolderIndexLock() {
    if (held_ && index_ != nullptr) UnlockFolderIndex(index_, folder_);
  }
  FolderIndexLock(const FolderIndexLock&) = delete;
  FolderIndexLock& operator=(const FolderIndexLock&) = delete;
  [[nodiscard]] bool IsHeld() const { return held_; }

 private:
  StoreIndex* index_;
  const std::string folder_;
  const bool held_;
};

}  // namespace corvane
