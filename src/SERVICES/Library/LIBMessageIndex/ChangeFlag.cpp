#include "SERVICES/Library/LIBMessageIndex/ChangeFlag.h"

#include "platform/WholeFile.h"

namespace corvane {

void MarkFolderForScan(const std::string& folder) {
  static_cast<void>(platform::WriteWholeFile(folder + "\\_CHANGE.DTY", kFolderChangedText, true,
                                             platform::Durability::kNone));
}

}  // namespace corvane
