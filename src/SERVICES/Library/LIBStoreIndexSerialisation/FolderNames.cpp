#include "SERVICES/Library/LIBStoreIndexSerialisation/FolderNames.h"

#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane {

void FolderNames::List() {
  listed_ = true;
  platform::FileFinder finder(folder_ + "\\*");
  while (auto found = finder.Next(false)) names_.insert(std::move(found->name));
}

bool FolderNames::Has(std::string_view name) {
  // A name that isn't one leads out of the folder, or nowhere.
  if (!platform::IsSafeName(name)) return false;
  if (!few_ && !listed_) List();
  if (listed_ && names_.find(std::string(name)) != names_.end()) return true;
  return platform::FileExists(platform::JoinPath(folder_, name));
}

}  // namespace corvane
