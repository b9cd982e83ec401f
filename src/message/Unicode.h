// Unicode.h -- UTF-8, UTF-16 and UTF-32 into each other.
//
// Nothing fails: whatever isn't well formed becomes U+FFFD, in UTF-8 one for each longest piece
// that could have begun a character. All functions append to `result`. Any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace corvane {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

// The length of the longest well-formed start of `text`.
[[nodiscard]] std::size_t WellFormedLength(std::string_view text);
[[nodiscard]] inline bool IsValidUtf8(std::string_view text) {
  return WellFormedLength(text) == text.size();
}

void AppendUtf8(char32_t character, std::string& result);
void AppendUtf16(char32_t character, std::u16string& result);

void Utf8ToUtf16(std::string_view text, std::u16string& result);
void Utf16ToUtf8(std::u16string_view text, std::string& result);

// `unitSize` is 2 or 4. A byte order mark at the start decides the order and is left out; without
// one `bigEndian` does.
void EncodedUnitsToUtf16(std::string_view bytes, std::size_t unitSize, bool bigEndian,
                         std::u16string& result);
void Utf16ToEncodedUnits(std::u16string_view text, std::size_t unitSize, bool bigEndian,
                         std::string& result);

[[nodiscard]] inline std::u16string ToWide(std::string_view utf8) {
  std::u16string result;
  Utf8ToUtf16(utf8, result);
  return result;
}
[[nodiscard]] inline std::string ToUtf8(std::u16string_view wide) {
  std::string result;
  Utf16ToUtf8(wide, result);
  return result;
}

}  // namespace corvane
