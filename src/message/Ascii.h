// Ascii.h -- classes of bytes and comparisons without regard to the case of ASCII letters.
//
// Nothing here looks at the locale. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace corvane {

[[nodiscard]] constexpr char LowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}
[[nodiscard]] constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }
[[nodiscard]] constexpr bool IsBlankOrTab(char c) { return c == ' ' || c == '\t'; }
[[nodiscard]] constexpr bool IsWhiteSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f';
}
// 0 to 15, or -1.
[[nodiscard]] constexpr int HexValue(char c) {
  if (IsDigit(c)) return c - '0';
  char lower = LowerCase(c);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

[[nodiscard]] constexpr bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (LowerCase(a[i]) != LowerCase(b[i])) return false;
  }
  return true;
}
[[nodiscard]] constexpr bool StartsWithIgnoringCase(std::string_view text,
                                                    std::string_view prefix) {
  return text.size() >= prefix.size() && EqualsIgnoringCase(text.substr(0, prefix.size()), prefix);
}

// Where `pattern`, which begins with an ASCII sign that is no letter, first stands in `text` at or
// behind `from`.
[[nodiscard]] std::size_t FindIgnoringCase(std::string_view text, std::string_view pattern,
                                           std::size_t from = 0);
// Whether `text` holds `pattern`, which may begin with a letter.
[[nodiscard]] bool ContainsIgnoringCase(std::string_view text, std::string_view pattern);

[[nodiscard]] bool IsAscii(std::string_view text);

// `text` without white space of the kind at its ends.
[[nodiscard]] constexpr std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && IsBlankOrTab(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlankOrTab(text.back())) text.remove_suffix(1);
  return text;
}

// The position of `c` in `text` at or behind `from`, or npos.
[[nodiscard]] inline std::size_t FindByte(std::string_view text, char c, std::size_t from = 0) {
  if (from >= text.size()) return std::string_view::npos;
  const void* hit = std::memchr(text.data() + from, c, text.size() - from);
  if (hit == nullptr) return std::string_view::npos;
  return static_cast<std::size_t>(static_cast<const char*>(hit) - text.data());
}

}  // namespace corvane
