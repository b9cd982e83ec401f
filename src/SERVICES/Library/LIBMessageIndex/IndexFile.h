// IndexFile.h -- brings one message file into an index.
#pragma once

#include <cstdint>
#include <string>

#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"
#include "platform/FileSystem.h"

namespace corvane {

// Parses one file and adds its item.
//
//   skipLookup  the caller knows that the index has no item of that name
//   brand       of the folder; 0 for none
//   uidCounter  the highest UID so far; goes up with each that is given
//
// 1 added, or there already; 0 when the file can't be parsed, and nothing has changed.
std::int32_t IndexNewFile(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                          const platform::FoundFile& fileInfo, bool skipLookup, std::uint32_t brand,
                          std::uint32_t* uidCounter);

// Parses one file anew for its item; `full` for an item without a date. 0 when it can't be parsed,
// and the item stays as it was.
std::int32_t RefreshFile(IndexItem* item, const std::string& folder,
                         const platform::FoundFile& fileInfo, std::uint32_t brand, bool full);

}  // namespace corvane
