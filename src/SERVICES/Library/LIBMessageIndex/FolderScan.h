// FolderScan.h -- brings a mail folder's index in line with its message files.
//
// The ground truth of a folder: files that the index lacks are added in the order of their names,
// changed ones are read again, items without a file go. Only new and changed files are opened. The
// folder's lock is held from beginning to end; delivery doesn't wait for it. A message that can't
// be parsed is left out and stays in the folder.
//
// Files: _index.xml, _FOLDER.DAT, _DIRSIZE.TMP; _CHANGE.DTY goes, unless a message came in behind
// the listing.
#pragma once

#include <cstdint>
#include <string>

#include "SERVICES/Library/LIBStoreIndexCore/FolderListing.h"
#include "SERVICES/Library/LIBStoreIndexCore/StoreIndex.h"
#include "platform/ClientSocket.h"

namespace corvane {

// The caller holds the lock of the folder already.
inline constexpr std::int32_t kAlreadyLocked = 99;

// Loads the folder's index into `index`, scans, saves.
//
//   clearRecent  \RECENT goes from every item first
//   socket       a client that waits for it: when it has gone, the walk ends and nothing is saved.
//                May be null
//   lockMode     kAlreadyLocked, or whether the handle of the lock is kept (1) while it is held
//   recover      an index that can't be read is told of and put back from its backup
//
// The result of the save; 0 without an index or a folder, and when the index or the folder can't be
// read, which leaves both as they are; 1 when the lock can't be had or the client has gone.
std::int32_t ScanFoldersOrdered(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                                bool clearRecent, platform::ClientSocket* socket,
                                std::int32_t lockMode, bool recover);
// The same on a store's index and folder; 0 without a folder.
std::int32_t ScanFoldersEx(StoreIndex* store, bool clearRecent, platform::ClientSocket* socket,
                           std::int32_t lockMode);

// The scan of an index that is loaded already, by a listing of its folder; the state after it, 0
// when the folder can't be listed. When it could not be written, NeedsSave() says so and
// _CHANGE.DTY stays. The caller holds the lock.
std::int32_t ScanLoadedFolder(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                              FolderListing* listing);

// How far a scan has come, for a tool that shows it: files done and files in all. Null for none.
// Not while a scan runs.
using ScanProgress = void (*)(std::size_t done, std::size_t all);
void SetScanProgress(ScanProgress progress);

}  // namespace corvane
