#include "SERVICES/Library/LIBStore/ReindexFolder.h"

#include "SERVICES/Library/LIBMessageIndex/MessageIndexFiles.h"
#include "SERVICES/Library/LIBStoreIndexCore/StoreIndex.h"

namespace corvane {
namespace {

// The folder's lock, given back whatever ends the work.
class FolderLock {
 public:
  FolderLock(StoreIndex* store, const std::string& folder)
      : store_(store), folder_(folder), held_(LockFolderIndex(store, folder)) {}
  ~FolderLock() {
    if (held_) UnlockFolderIndex(store_, folder_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;
  [[nodiscard]] bool IsHeld() const { return held_; }

 private:
  StoreIndex* store_;
  const std::string& folder_;
  const bool held_;
};

}  // namespace

void ReindexFolder(const std::string& path) {
  StoreIndex store(MessageIndexFiles());
  store.FolderPath = path;
  const FolderLock lock(&store, path);
  if (!lock.IsHeld()) return;
  IndexLoad load;
  load.store = &store;
  load.path = path;
  load.alreadyLocked = true;
  load.verifyFiles = 1;
  load.useChangeFlag = load.forceRescan = load.recover = true;
  // The rescan has written the index; only what it left unwritten is written here.
  if (store.Index.Load(load) && store.Index.NeedsSave()) {
    store.Index.Save(path, kClassMail, true);
  }
}

}  // namespace corvane
