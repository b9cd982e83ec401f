// MarkFolderChanged.h -- tells the store that a message has entered a folder.
//
// `Store Event Notification Mode` decides how:
//
//   0  the flag _CHANGE.DTY: whoever opens the folder next brings its index up to date
//   2  the index is brought up to date at once (ReindexFolder)
//   3  the same, and _CACHE.DTY is left behind
//   4  the one item is put into the index (DirectInsertMessage)
//
// 2 to 4 do so only with `Index Files Enabled` 1; any other value does nothing.
#pragma once

#include <cstdint>
#include <string>

namespace corvane {

inline constexpr const char* kActionAdd = "ADD";

// For the folder root\MAILROOT\<mailbox>\<folder>, whatever kind the folder is.
//
//   action        kActionAdd for a message that has entered
//   item          its file name
//   notifyCommit  asks other connections first to write what they hold of the index
//   dispatchAdd   tells clients after the insertion
//
// 0 only when an insertion ran and failed: the message file is there, and the next scan adds it.
// Otherwise 1. Any thread, also several for one folder.
std::int32_t MarkFolderChanged(const std::string& postoffice, const std::string& mailbox,
                               const std::string& folder, const std::string& action,
                               const std::string& item, bool notifyCommit, bool dispatchAdd);

}  // namespace corvane
