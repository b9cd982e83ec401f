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
  // What isn't a name leads out of the folder, or nowhere.
  if (name.empty() || name == "." || name == ".." ||
      name.find_first_of(std::string_view("/\\\0", 3)) != name.npos) {
    return false;
  }
  if (!few_ && !listed_) List();
  if (listed_ && names_.contains(name)) return true;
  return platform::FileExists(platform::JoinPath(folder_, name));
}

}  // namespace corvane
