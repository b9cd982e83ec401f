// SetMessageFileHeader.h -- sets one header of a message file anywhere.
#pragma once

#include <string_view>

namespace corvane {

// Sets the header `name` of the message file `path` to `value`. A line that begins with the name
// and
// ":", in any case, is replaced together with its folded rest; without one the header comes before
// the blank line, or to the end of a file that has none. The file is written whole beside its place
// and put over the old one, so nobody meets half of it. With `create` a file that doesn't exist is
// made of the one line.
//
// False when the file can't be opened, written or replaced; it is unchanged then and the console
// says why. Any thread.
[[nodiscard]] bool SetMessageFileHeader(std::string_view path, std::string_view name,
                                        std::string_view value, bool create);

}  // namespace corvane
