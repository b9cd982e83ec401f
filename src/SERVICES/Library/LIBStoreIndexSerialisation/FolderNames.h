// FolderNames.h -- which files a folder holds, asked for many.
//
// The first question lists the folder once, so that a question costs no look at the disk; what the
// listing hasn't got is looked for on the disk all the same. One thread, for one operation.
#pragma once

#include <string>
#include <string_view>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexKeySet.h"

namespace corvane {

class FolderNames {
 public:
  // `few`: there will be only some questions, each asked of the disk.
  FolderNames(std::string folder, bool few) : folder_(std::move(folder)), few_(few) {}
  [[nodiscard]] bool Has(std::string_view name);

 private:
  void List();

  std::string folder_;
  bool few_;
  bool listed_ = false;
  IndexKeySet names_;
};

}  // namespace corvane
