#include "message/Unicode.h"

#include <algorithm>
#include <cstdint>

#include "message/Ascii.h"

namespace corvane {
namespace {

constexpr char32_t kIllFormed = 0xFFFFFFFF;

[[nodiscard]] unsigned char Byte(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

// What a lead byte allows: the length of the character and the range of its second byte.
struct Lead {
  std::size_t length = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
};

[[nodiscard]] Lead ReadLead(unsigned char byte) {
  if (byte >= 0xC2 && byte <= 0xDF) return {2};
  if (byte == 0xE0) return {3, 0xA0, 0xBF};
  if (byte == 0xED) return {3, 0x80, 0x9F};
  if (byte >= 0xE1 && byte <= 0xEF) return {3};
  if (byte == 0xF0) return {4, 0x90, 0xBF};
  if (byte >= 0xF1 && byte <= 0xF3) return {4};
  if (byte == 0xF4) return {4, 0x80, 0x8F};
  return {};
}

// The character of more than one byte at `at`, which moves behind it or behind the ill-formed
// piece.
[[nodiscard]] char32_t ReadUtf8(std::string_view text, std::size_t& at) {
  unsigned char first = Byte(text, at++);
  Lead lead = ReadLead(first);
  if (lead.length == 0) return kIllFormed;
  char32_t value = first & (0x7FU >> lead.length);
  for (std::size_t i = 1; i < lead.length; ++i) {
    if (at == text.size()) return kIllFormed;
    unsigned char next = Byte(text, at);
    unsigned char low = i == 1 ? lead.low : 0x80;
    unsigned char high = i == 1 ? lead.high : 0xBF;
    if (next < low || next > high) return kIllFormed;
    value = (value << 6) | (next & 0x3FU);
    ++at;
  }
  return value;
}

// The length of the ASCII text at `at`.
[[nodiscard]] std::size_t AsciiRun(std::string_view text, std::size_t at) {
  std::size_t end = at;
  while (end + 16 <= text.size() && IsAscii(text.substr(end, 16))) end += 16;
  while (end < text.size() && Byte(text, end) < 0x80) ++end;
  return end - at;
}

[[nodiscard]] bool IsHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
[[nodiscard]] bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

[[nodiscard]] char32_t ReadUtf16(std::u16string_view text, std::size_t& at) {
  char16_t unit = text[at++];
  if ((unit & 0xF800) != 0xD800) return unit;
  if (!IsHighSurrogate(unit) || at == text.size() || !IsLowSurrogate(text[at])) {
    return kReplacementCharacter;
  }
  return 0x10000 + ((char32_t{unit} - 0xD800) << 10) + (char32_t{text[at++]} - 0xDC00);
}

[[nodiscard]] char32_t ReadUnit(std::string_view bytes, std::size_t at, std::size_t unitSize,
                                bool bigEndian) {
  char32_t value = 0;
  for (std::size_t i = 0; i < unitSize; ++i) {
    value = (value << 8) | Byte(bytes, at + (bigEndian ? i : unitSize - 1 - i));
  }
  return value;
}

}  // namespace

std::size_t WellFormedLength(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    at += AsciiRun(text, at);
    std::size_t start = at;
    if (at < text.size() && ReadUtf8(text, at) == kIllFormed) return start;
  }
  return text.size();
}

void AppendUtf8(char32_t character, std::string& result) {
  auto put = [&](char32_t bits) { result.push_back(static_cast<char>(bits)); };
  if (character < 0x80) return put(character);
  if (character < 0x800) {
    put(0xC0 | (character >> 6));
    return put(0x80 | (character & 0x3F));
  }
  if (character < 0x10000) {
    put(0xE0 | (character >> 12));
  } else {
    put(0xF0 | (character >> 18));
    put(0x80 | ((character >> 12) & 0x3F));
  }
  put(0x80 | ((character >> 6) & 0x3F));
  put(0x80 | (character & 0x3F));
}

void AppendUtf16(char32_t character, std::u16string& result) {
  bool surrogate = character >= 0xD800 && character < 0xE000;
  if (surrogate || character > 0x10FFFF) character = kReplacementCharacter;
  if (character < 0x10000) {
    result.push_back(static_cast<char16_t>(character));
    return;
  }
  result.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
  result.push_back(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
}

void Utf8ToUtf16(std::string_view text, std::u16string& result) {
  result.reserve(result.size() + text.size());
  for (std::size_t at = 0; at < text.size();) {
    std::size_t run = AsciiRun(text, at);
    result.append(text.begin() + static_cast<std::ptrdiff_t>(at),
                  text.begin() + static_cast<std::ptrdiff_t>(at + run));
    at += run;
    if (at == text.size()) return;
    char32_t character = ReadUtf8(text, at);
    AppendUtf16(character == kIllFormed ? kReplacementCharacter : character, result);
  }
}

void Utf16ToUtf8(std::u16string_view text, std::string& result) {
  for (std::size_t at = 0; at < text.size();) AppendUtf8(ReadUtf16(text, at), result);
}

void EncodedUnitsToUtf16(std::string_view bytes, std::size_t unitSize, bool bigEndian,
                         std::u16string& result) {
  std::size_t at = 0;
  if (bytes.size() >= unitSize) {
    bool marked = ReadUnit(bytes, 0, unitSize, bigEndian) == 0xFEFF;
    bool turned = ReadUnit(bytes, 0, unitSize, !bigEndian) == 0xFEFF;
    if (turned) bigEndian = !bigEndian;
    if (marked || turned) at = unitSize;
  }
  for (; at + unitSize <= bytes.size(); at += unitSize) {
    char32_t unit = ReadUnit(bytes, at, unitSize, bigEndian);
    if (unitSize == 2) {
      result.push_back(static_cast<char16_t>(unit));
    } else {
      AppendUtf16(unit, result);
    }
  }
  if (at < bytes.size()) AppendUtf16(kReplacementCharacter, result);
}

void Utf16ToEncodedUnits(std::u16string_view text, std::size_t unitSize, bool bigEndian,
                         std::string& result) {
  for (std::size_t at = 0; at < text.size();) {
    char32_t unit = unitSize == 2 ? text[at++] : ReadUtf16(text, at);
    for (std::size_t i = 0; i < unitSize; ++i) {
      std::size_t shift = 8 * (bigEndian ? unitSize - 1 - i : i);
      result.push_back(static_cast<char>((unit >> shift) & 0xFF));
    }
  }
}

}  // namespace corvane
