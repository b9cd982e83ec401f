#include "SERVICES/Library/LIBStoreIndexSerialisation/FolderNames.h"

#include "SERVICES/Library/LIBStoreIndexCore/FolderListing.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace corvane {

bool FolderNames::WasListed(std::string_view name) {
  if (listing_ != nullptr) return listing_->Has(name);
  if (!listed_) {
    listed_ = true;
    platform::FileFinder finder(folder_ + "\\*");
    while (auto found = finder.Next(false)) names_.insert(std::move(found->name));
  }
  return names_.contains(name);
}

bool FolderNames::Has(std::string_view name) {
  // What isn't a name leads out of the folder, or nowhere.
  if (name.empty() || name == "." || name == ".." ||
      name.find_first_of(std::string_view("/\\\0", 3)) != name.npos) {
    return false;
  }
  return WasListed(name) || platform::FileExists(platform::JoinPath(folder_, name));
}

}  // namespace corvane
