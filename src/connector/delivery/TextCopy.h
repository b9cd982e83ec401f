// TextCopy.h -- a text file's lines into another one.
#pragma once

#include <cstddef>
#include <string_view>

#include "platform/TextFile.h"
#include "platform/WholeFile.h"

namespace corvane {

// Appends `text` with CR LF for each "\n".
[[nodiscard]] bool WriteAsText(platform::WholeFile& target, std::string_view text);

// Appends what is left of `source`, line by line in pieces of up to `pieceBytes`, with CR LF for
// each line end. False on a read or write error.
[[nodiscard]] bool CopyAsText(platform::TextFile& source, platform::WholeFile& target,
                              std::size_t pieceBytes);

}  // namespace corvane
