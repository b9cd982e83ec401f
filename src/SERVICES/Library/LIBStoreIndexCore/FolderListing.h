// FolderListing.h -- the message files of a folder, listed once for a load and the scan behind it.
//
// One thread, for one operation, under the folder's lock. Files that come or go behind the listing
// are the business of those who use it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/FileSystem.h"

namespace corvane {

// Names of so many bytes or more are not indexed.
inline constexpr std::size_t kIndexedNameLimit = 64;
// Whether a file of that name takes part in an index: names that begin with '_' or '.' are the
// system's.
[[nodiscard]] bool IsIndexedName(std::string_view name);

// The walk over a folder's message files, whose names end in ".MAI"; directories may be among them.
// It stops before the entry that reaches the largest number of rows.
class MessageFileWalk {
 public:
  explicit MessageFileWalk(const std::string& folder);
  // The next one that takes part in an index, or nothing at the end.
  [[nodiscard]] std::optional<platform::FoundFile> Next(bool withInfo);
  // Nothing came because the names can't be read on: what the folder holds isn't known.
  [[nodiscard]] bool Failed() const { return failed_; }

 private:
  platform::FileFinder finder_;
  std::size_t left_;
  bool failed_ = false;
};

class FolderListing {
 public:
  explicit FolderListing(std::string folder) : folder_(std::move(folder)) {}

  // Lists, at the first call of any operation here. False when the names can't be read.
  [[nodiscard]] bool List();
  // By name in any case.
  [[nodiscard]] const std::vector<platform::FoundFile>& Files() const { return files_; }
  // Whether a file of that very name is among them. False doesn't tell that there is none: the
  // listing has a limit and may have failed.
  [[nodiscard]] bool Has(std::string_view name);

 private:
  void Sort();

  const std::string folder_;
  bool isListed_ = false;
  bool worked_ = false;
  std::vector<platform::FoundFile> files_;
  std::size_t next_ = 0;  // behind the last name that was found: the next question mostly is that
};

}  // namespace corvane
