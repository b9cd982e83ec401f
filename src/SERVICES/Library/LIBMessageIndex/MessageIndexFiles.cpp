#include "SERVICES/Library/LIBMessageIndex/MessageIndexFiles.h"

#include "SERVICES/Library/LIBMessageIndex/FolderScan.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/FolderIndexFiles.h"

namespace corvane {

IndexFiles* MessageIndexFiles() {
  static FolderIndexFiles files({.mail = ScanLoadedFolder, .contacts = nullptr});
  return &files;
}

}  // namespace corvane
