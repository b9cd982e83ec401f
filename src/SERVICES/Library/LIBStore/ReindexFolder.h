// ReindexFolder.h -- brings the index of a folder in line with its files.
#pragma once

#include <string>

namespace corvane {

// Reads the index of the folder at `path`, drops items without files, adds files without items and
// writes the index back, all under the folder's lock. What can't be locked or loaded stays as it
// was. Costs as much as the folder holds.
void ReindexFolder(const std::string& path);

}  // namespace corvane
