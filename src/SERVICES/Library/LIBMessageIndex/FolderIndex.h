// FolderIndex.h -- the changes to a mail folder's index that come one at a time.
//
// Each takes the folder's lock for its length, reads as little of the index as the change needs and
// writes the change in place where the settings have indexes written as streams. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace corvane {

// Puts a message file of the folder into its index. A folder without an index gets one of all its
// files. What can't be done leaves the folder marked as changed, so that its next reader does it.
//
// 1  the item stands in the index
// 0  there is no such file, or the index can't be locked, read or written
std::int32_t InsertIntoFolderIndex(const std::string& folder, const std::string& item);

enum class IndexChange : std::int32_t {
  kFailed = 0,  // the index can't be locked, read or written
  kDone = 1,
  kNotThere = 2,  // no such item
};

// Takes items out; their files stay. kNotThere when none of them was there; `removed` is how many
// were.
[[nodiscard]] IndexChange RemoveFromFolderIndex(const std::string& folder,
                                                const std::vector<std::string>& items,
                                                std::size_t* removed);

// Gives one property of one item a value; an empty one takes it away. FLAGSTATUS sets READ too.
[[nodiscard]] IndexChange SetInFolderIndex(const std::string& folder, const std::string& item,
                                           const std::string& name, const std::string& value);

}  // namespace corvane
