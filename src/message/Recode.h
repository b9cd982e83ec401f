// Recode.h -- text from one named charset into another.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// Puts `bytes` into `result`, converted from one charset into the other; an empty name means UTF-8.
//
// true   converted, or both names are equal without regard to case and the bytes stand
// false  a name is unknown, or nobody has its code page: the bytes stand
//
// Malformed text isn't a failure (CodePages.h). `result` must not be what `bytes` look at.
bool RecodeText(std::string_view fromCharset, std::string_view bytes, std::string& result,
                std::string_view toCharset = "UTF-8");

}  // namespace corvane
