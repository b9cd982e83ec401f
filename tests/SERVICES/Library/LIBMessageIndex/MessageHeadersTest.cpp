#include <gtest/gtest.h>

#include "SERVICES/Library/LIBMessageIndex/MessageHeaders.h"

namespace corvane {
namespace {

TEST(AddFlag, AddsOnceWithItsMark) {
  const struct {
    const char *flags, *name, *after;
  } cases[] = {
      {"", "SEEN", "\\SEEN"},
      {"$a", "SEEN", "$a \\SEEN"},
      {"\\seen", "SEEN", "\\seen"},
      {"", "$IsMailingList", "$IsMailingList"},
      {"\\SEEN", "\\RECENT", "\\SEEN \\RECENT"},
      {"$ISMAILINGLISTS", "$IsMailingList", "$ISMAILINGLISTS"},
  };
  for (const auto& row : cases) {
    std::string flags = row.flags;
    AddFlag(flags, row.name);
    EXPECT_EQ(flags, row.after);
  }
}

TEST(CutToSize, KeepsWholeCharacters) {
  const struct {
    std::string_view text;
    std::size_t size;
    std::string_view kept;
  } cases[] = {
      {"abc", 4, "abc"},
      {"abcd", 4, "abc"},
      {"a\xC3\xA4", 4, "a\xC3\xA4"},
      {"ab\xC3\xA4", 4, "ab"},
      {"\xF0\x9F\x98\x80", 4, ""},  // a character of four bytes that doesn't fit
      {"\x80\x80\x80\x80\x80\x80", 6, "\x80\x80\x80\x80\x80"},  // no UTF-8
  };
  for (const auto& row : cases) EXPECT_EQ(CutToSize(row.text, row.size), row.kept) << row.text;
  SizedText<4> sized;
  sized = "abcdef";
  EXPECT_EQ(sized.View(), "abc");
}

}  // namespace
}  // namespace corvane
