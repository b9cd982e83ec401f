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

// The walk over the names of a folder's message files, which end in ".MAI"; directories may be
// among them. It stops before the entry that reaches the largest number of rows.
class MessageFileWalk {
 public:
  explicit MessageFileWalk(const std::string& folder);
  // The next one that takes part in an index, without its info, or nothing at the end.
  [[nodiscard]] std::optional<platform::FoundFile> Next();
  // Nothing came because the names can't be read on: what the folder holds isn't known.
  [[nodiscard]] bool Failed() const { return failed_; }
  [[nodiscard]] const platform::FileFinder& Finder() const { return finder_; }

 private:
  platform::FileFinder finder_;
  std::size_t left_;
  bool failed_ = false;
};

// The names are read at the first question and kept; sizes and times are looked at by each scan.
class FolderListing {
 public:
  explicit FolderListing(std::string folder) : folder_(std::move(folder)) {}

  // Whether a file of that very name was listed. False doesn't tell that there is none: the listing
  // has a limit and may have failed.
  [[nodiscard]] bool Has(std::string_view name);
  // Looks at every file; those that have gone and directories leave. False when the names can't be
  // read.
  [[nodiscard]] bool Look();
  // What the last Look found, by name in any case.
  [[nodiscard]] const std::vector<platform::FoundFile>& Files() const { return files_; }
  // The next question lists anew.
  void Forget();

 private:
  void List();
  void Sort();

  const std::string folder_;
  std::optional<MessageFileWalk> walk_;  // its directory stays open for the looks
  std::vector<platform::FoundFile> files_;
  std::size_t next_ = 0;  // behind the last name that was found: the next question mostly is that
};

}  // namespace corvane
