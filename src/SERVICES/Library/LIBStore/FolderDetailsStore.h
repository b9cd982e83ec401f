// FolderDetailsStore.h -- the cached counts of a folder, by the names of postoffice, mailbox and
// folder. An empty folder name is the mailbox's own directory. What the calls do stands in
// FolderDetailsFile.h.
#pragma once

#include <string>
#include <string_view>

#include "SERVICES/Library/LIBStoreIndexCore/FolderDetails.h"

namespace corvane {

bool ReadFolderDetails(const std::string& postoffice, const std::string& mailbox,
                       std::string_view folder, FolderDetails& details);
bool WriteFolderDetails(const std::string& postoffice, const std::string& mailbox,
                        std::string_view folder, FolderDetails& details);

}  // namespace corvane
