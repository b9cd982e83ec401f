// DirectInsertMessage.h -- puts one message into a folder's index without reading the index.
//
// The cheap road: its cost doesn't grow with the folder. A stale folder (_CHANGE.DTY) is left
// alone, so that an insertion never hides what the flag means; an index past `Index Injection Size
// Limit` KB gets the flag and is left to its next reader.
#pragma once

#include <cstdint>
#include <string>

namespace corvane {

// The arguments are MarkFolderChanged's; anything but the action "ADD" inserts nothing. 1, or
// the library's own answer when the insertion failed; the folder is marked then.
[[nodiscard]] std::int32_t DirectInsertMessage(const std::string& postoffice,
                                               const std::string& mailbox,
                                               const std::string& folder, const std::string& action,
                                               const std::string& item, bool notifyCommit,
                                               bool dispatchAdd);

}  // namespace corvane
