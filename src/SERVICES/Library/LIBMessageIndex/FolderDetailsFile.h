// FolderDetailsFile.h -- the cached counts of a folder on disk: _FOLDER.DAT in its directory.
//
// A cache for other programs: what it lacks or lost, the next scan writes again. It appears at once
// or not at all. Any thread.
#pragma once

#include <string_view>

#include "SERVICES/Library/LIBStoreIndexCore/FolderDetails.h"

namespace corvane {

// Makes counts of a file that nobody checked possible: none below 0, and those of deleted,
// answered, seen and recent items, and word 9, no more than there are items.
void NormaliseFolderDetails(FolderDetails& details);

// Reads the file in `directory`; zeros when there is none or it is too short. Does nothing unless
// `Index Files Enabled` is 1. True when it was read.
bool ReadFolderDetailsFile(std::string_view directory, FolderDetails& details);

// Normalises `details` and writes them. A failure is logged.
bool WriteFolderDetailsFile(std::string_view directory, FolderDetails& details);

}  // namespace corvane
