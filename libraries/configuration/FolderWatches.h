// FolderWatches.h -- the names that changed in watched folders, kept until their folder is
// measured.
//
// One queue of the kernel serves all folders; whoever drains it keeps the names for their owners.
// Bounded: a folder with more changes than are worth keeping is said to have lost track. Any
// thread.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/DirectoryWatch.h"

namespace corvane::configuration {

// What happened in a folder since it was last asked.
struct FolderChanges {
  std::vector<std::string> names;  // each came, went or was written; flag files are left out
  bool any = false;                // something happened, if only to a flag file
  bool lost = false;               // more happened than is known: list the folder
};

class FolderWatches {
 public:
  // A number for the watch, or -1 when the folder can't be watched.
  [[nodiscard]] int Add(const std::string& path);
  void Remove(int watch);

  // Brings what the kernel has into the lists.
  void Drain();
  // The folder's changes, once. Lost for a watch that has ended.
  [[nodiscard]] FolderChanges Take(int watch);

  [[nodiscard]] std::size_t Count() const;

 private:
  void Note(const platform::DirectoryEvent& event);
  void NoteName(FolderChanges& changes, const platform::DirectoryEvent& event);
  void Lose(FolderChanges& changes);

  mutable std::mutex mutex_;
  platform::DirectoryWatch watch_;
  std::unordered_map<int, FolderChanges> changes_;
  std::size_t keptNames_ = 0;
};

// Whether a file of that name is a message or another item of the folder, and not a flag file.
[[nodiscard]] inline bool IsItemName(std::string_view name) {
  return !name.empty() && name[0] != '_' && name[0] != '.';
}

}  // namespace corvane::configuration
