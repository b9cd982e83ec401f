#include "SERVICES/Library/LIBStore/FolderDetailsStore.h"

#include "SERVICES/Library/LIBMessageIndex/FolderDetailsFile.h"
#include "SERVICES/Library/LIBStore/FolderPaths.h"

namespace corvane {

bool ReadFolderDetails(const std::string& postoffice, const std::string& mailbox,
                       std::string_view folder, FolderDetails& details) {
  return ReadFolderDetailsFile(GetFolderPath(postoffice, mailbox, folder), details);
}

bool WriteFolderDetails(const std::string& postoffice, const std::string& mailbox,
                        std::string_view folder, FolderDetails& details) {
  return WriteFolderDetailsFile(GetFolderPath(postoffice, mailbox, folder), details);
}

}  // namespace corvane
