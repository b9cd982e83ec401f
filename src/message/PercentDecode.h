// PercentDecode.h -- percent-encoded text of header parameters.
#pragma once

#include <string>
#include <string_view>

namespace corvane {

// '%' and two hexadecimal digits are that byte; "%#" and decimal digits are the byte of that number
// (its lowest eight bits), and a ';' behind the digits is swallowed. Anything else is copied.
[[nodiscard]] std::string PercentDecode(std::string_view text);

}  // namespace corvane
