// ChangeFlag.h -- marks a folder whose index isn't up to date, for whoever opens it next.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// What such a flag holds. Only its presence counts.
inline constexpr std::string_view kFolderChangedText =
    "This file is a flag file that denotes that this folder has been changed";

[[nodiscard]] std::string ChangeFlagOf(const std::string& folder);
[[nodiscard]] bool IsMarkedForScan(const std::string& folder);
// Leaves _CHANGE.DTY in the folder. A flag that can't be written is passed over in silence.
void MarkFolderForScan(const std::string& folder);

}  // namespace corvane
