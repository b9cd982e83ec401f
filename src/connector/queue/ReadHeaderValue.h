// ReadHeaderValue.h -- one header of a message file, without reading the rest.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace corvane {

// The value of the first header `headerName` (with or without its colon, in any case) of the file,
// as `out`: without leading blanks and line ends, folded lines added as they stand, cut to
// `outSize` - 1 bytes. Looks up to the first blank line, at `maxLines` + 1 lines of up to 2048
// bytes at most. False, with `out` empty, when there is no such header or the file can't be read.
// Any thread.
[[nodiscard]] bool ReadHeaderValue(std::string_view messagePath, std::string_view headerName,
                                   std::string& out, std::size_t outSize, std::int32_t maxLines);

}  // namespace corvane
