// ChangeFlag.h -- marks a folder whose index isn't up to date, for whoever opens it next.
#pragma once

#include <string>

namespace corvane {

// Leaves _CHANGE.DTY in the folder. A flag that can't be written is passed over in silence.
void MarkFolderForScan(const std::string& folder);

}  // namespace corvane
