// LineEnds.h -- LF line ends to CR LF.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// `text` with a CR before every LF that none stands before; one pass to count, one to copy. Any
// thread.
[[nodiscard]] std::string WithCrLf(std::string_view text);

}  // namespace corvane
