#include "SERVICES/Library/LIBStoreIndexCore/ChangeFlag.h"

#include "platform/FileSystem.h"
#include "platform/WholeFile.h"

namespace corvane {

std::string ChangeFlagOf(const std::string& folder) { return folder + "\\_CHANGE.DTY"; }

bool IsMarkedForScan(const std::string& folder) {
  return platform::FileExists(ChangeFlagOf(folder));
}

void MarkFolderForScan(const std::string& folder) {
  static_cast<void>(platform::WriteWholeFile(ChangeFlagOf(folder), kFolderChangedText, true,
                                             platform::Durability::kNone));
}

}  // namespace corvane
