#include "message/PercentDecode.h"

#include <cstdint>

#include "message/Ascii.h"

namespace corvane {
namespace {

// Reads digits at `at`, which moves behind them and a ';'.
[[nodiscard]] char ReadNumber(std::string_view text, std::size_t& at) {
  std::uint32_t number = 0;
  for (; at < text.size() && IsDigit(text[at]); ++at) {
    number = (number * 10 + static_cast<std::uint32_t>(text[at] - '0')) & 0xFF;
  }
  if (at < text.size() && text[at] == ';') ++at;
  return static_cast<char>(number);
}

}  // namespace

std::string PercentDecode(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    std::string_view next = text.substr(at + 1, 2);
    if (text[at] != '%' || next.size() < 2) {
      result.push_back(text[at++]);
    } else if (next[0] == '#' && IsDigit(next[1])) {
      at += 2;
      result.push_back(ReadNumber(text, at));
    } else if (HexValue(next[0]) >= 0 && HexValue(next[1]) >= 0) {
      result.push_back(static_cast<char>(HexValue(next[0]) * 16 + HexValue(next[1])));
      at += 3;
    } else {
      result.push_back(text[at++]);
    }
  }
  return result;
}

}  // namespace corvane
