#include "SERVICES/Library/LIBStore/ReindexFolder.h"

#include "SERVICES/Library/LIBMessageIndex/MessageIndexFiles.h"
#include "SERVICES/Library/LIBStoreIndexCore/StoreIndex.h"

namespace corvane {
void ReindexFolder(const std::string& path) {
  StoreIndex store(MessageIndexFiles());
  store.FolderPath = path;
  const FolderIndexLock lock(&store, path, false);
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
