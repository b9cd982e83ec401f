#include "SERVICES/Library/LIBStore/ReindexFolder.h"

#include "SERVICES/Library/LIBStore/FolderFlags.h"
#include "connector/logs/Logs.h"

namespace corvane {

void ReindexFolder(const std::string& path) {
  WriteFolderFlag(path, FolderFlag::kChanged);
  LogDebugF("This build has no index of folders; %s is left to its next reader.\n", path.c_str());
}

}  // namespace corvane
