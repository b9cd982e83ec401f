// MessageIndexFiles.h -- the files behind every index of this program, with the scans of folders.
#pragma once

#include "SERVICES/Library/LIBStoreIndexCore/IndexFiles.h"

namespace corvane {

// For StoreIndex and SORTEDSTOREINDEXTYPE. Any thread; lives as long as the process.
//
// A folder of contacts can't be rebuilt from its cards in this build: its index is taken as it
// stands, with a line in the debug log.
[[nodiscard]] IndexFiles* MessageIndexFiles();

}  // namespace corvane
