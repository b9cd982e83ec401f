#include "SERVICES/Library/LIBMessageIndex/ChangeFlag.h"

#include "platform/WholeFile.h"

namespace corvane {
namespace {

// Only the file's presence counts; every writer of the flag leaves these words.
constexpr std::string_view kText =
    "This file is a flag file that denotes that this folder has been changed";

}  // namespace

void MarkFolderForScan(const std::string& folder) {
  static_cast<void>(
      platform::WriteWholeFile(folder + "\\_CHANGE.DTY", kText, true, platform::Durability::kNone));
}

}  // namespace corvane
