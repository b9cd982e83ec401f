// IndexInspection.h -- looks at an index file as it stands, and says what is wrong with it.
//
// Reads only, takes no lock: the file is opened as every reader opens it, so that a writer is
// waited for. For tools.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SERVICES/Library/LIBStoreIndexCore/SORTEDSTOREINDEXTYPE.h"

namespace corvane {

struct IndexFileReport {
  std::string form;  // "stream", "old", "empty" or "absent"
  std::uint32_t tombstones = 0;
  std::uint32_t elements = 0;
  std::string error;  // the first thing that the format doesn't allow, or empty
};

// Reads every item into `index`, whose LoadState tells whether that worked.
[[nodiscard]] IndexFileReport InspectIndex(SORTEDSTOREINDEXTYPE* index, const std::string& folder,
                                           std::int32_t messageClass);

// Every fault of a folder's index, a line each: of the file's form, of identifiers, of places and
// lengths, and of files and items that don't match. Empty when it is sound.
[[nodiscard]] std::vector<std::string> CheckIndex(const std::string& folder,
                                                  std::int32_t messageClass);

}  // namespace corvane
