// FolderNames.h -- which files a folder holds, asked for many.
//
// The first question lists the folder once, so that a question costs no look at the disk; what the
// listing hasn't got is looked for on the disk all the same. One thread, for one operation.
#pragma once

#include <string>
#include <string_view>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexKeySet.h"

namespace corvane {

class FolderListing;

class FolderNames {
 public:
  // `listing`, unless it is null, is taken for the folder's names.
  FolderNames(std::string folder, FolderListing* listing)
      : folder_(std::move(folder)), listing_(listing) {}
  [[nodiscard]] bool Has(std::string_view name);

 private:
  // Whether the name was listed.
  [[nodiscard]] bool WasListed(std::string_view name);

  std::string folder_;
  FolderListing* listing_;
  bool listed_ = false;
  IndexKeySet names_;
};

}  // namespace corvane
