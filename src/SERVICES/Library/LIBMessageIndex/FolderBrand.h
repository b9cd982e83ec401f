// FolderBrand.h -- the number that stands for one life of a folder.
//
// A UID in a message file counts only in the folder that gave it: a folder that was removed and
// made again, or the folder that a message was copied to, has another brand. Any thread.
#pragma once

#include <cstdint>
#include <string_view>

namespace corvane {

// Of a folder's directory: when it was made. 0 if it can't be found.
[[nodiscard]] std::uint32_t FolderBrand(std::string_view folder);

}  // namespace corvane
