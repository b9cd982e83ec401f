// CharsetTable.h -- which charset name means which code page.
//
// 327 rows over 142 code pages. The table alone decides; that a conversion library knows further
// names makes no difference. Any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace corvane {

struct CharsetRow {
  std::uint16_t codePage;
  std::string_view name;
};

// All rows, in table order.
[[nodiscard]] std::span<const CharsetRow> CharsetRows();

// The code page of the first row with that name, without regard to case; 0 for an unknown name.
[[nodiscard]] int LookupCodePage(std::string_view name);

inline constexpr int kPageUtf16 = 1200;
inline constexpr int kPageUtf16BigEndian = 1201;
inline constexpr int kPageWindows1252 = 1252;
inline constexpr int kPageUtf32 = 12000;
inline constexpr int kPageUtf32BigEndian = 12001;
inline constexpr int kPageAscii = 20127;
inline constexpr int kPageLatin1 = 28591;
inline constexpr int kPageUtf8 = 65001;

}  // namespace corvane
