// TextTest.cpp -- tokens, search, replace.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "CLIENTS/CVMAPI/CVMSLIB/common/Text.h"

namespace corvane {
namespace {

// A text, the separator, and the number of tokens.
const std::tuple<std::string, const char*, std::int32_t> kCounts[] = {
    {"", ";", 0},      {"a", ";", 1},
    {";", ";", 1},     {"a;", ";", 2},
    {"a;b;c", ";", 3}, {";a;b", ";", 2},
    {"a;;b", ";", 3},  {"oneANDtwoandthree", "and", 3},
    {"xxxx", "xx", 2}, {std::string(2'000'000, ';'), ";", 1'000'000},
    {"a", "", 1},
};

TEST(CountTokens, SeparatorsFromTheSecondCharacterOn) {
  for (const auto& [text, separator, count] : kCounts) {
    EXPECT_EQ(CountTokens(text, separator), count) << text.substr(0, 40);
  }
}

struct TokenCase {
  const char* name;
  const char* text;
  const char* separator;
  std::int32_t number;
  char escape;
  std::int32_t result;
  const char* buffer;
};
// The buffer has 8 bytes and holds "before".
const TokenCase kTokens[] = {
    {"First", "a;b;c", ";", 1, 0, 1, "a"},
    {"Middle", "a;b;c", ";", 2, 0, 1, "b"},
    {"Last", "a;b;c", ";", 3, 0, 1, "c"},
    {"PastTheLastGivesTheLast", "a;b;c", ";", 9, 0, 1, "c"},
    {"WholeTextWithoutSeparator", "abc", ";", 1, 0, 1, "abc"},
    {"NothingPastATextWithoutSeparator", "abc", ";", 2, 0, 0, "before"},
    {"NumberZero", "a;b", ";", 0, 0, 0, "before"},
    {"NegativeNumber", "a;b", ";", -1, 0, 0, "before"},
    {"EmptyText", "", ";", 1, 0, 1, ""},
    {"EmptyToken", "a;;c", ";", 2, 0, 1, ""},
    {"EmptyFirst", ";b", ";", 1, 0, 1, ""},
    {"EmptyLast", "a;", ";", 2, 0, 1, ""},
    {"PastAnEmptyLast", "a;", ";", 5, 0, 1, ""},
    {"FillsTheBuffer", "1234567;b", ";", 1, 0, 1, "1234567"},
    {"DoesNotFit", "12345678;b", ";", 1, 0, 0, ""},
    {"SeparatorInAnyCase", "oneANDtwo", "and", 2, 0, 1, "two"},
    {"EscapedSeparatorStays", R"(a\;b;c)", ";", 1, '\\', 1, R"(a\;b)"},
    {"BehindAnEscapedOne", R"(a\;b;c)", ";", 2, '\\', 1, "c"},
    {"OnlyEscapedOnesAreNone", R"(a\;b)", ";", 2, '\\', 0, "before"},
    {"WithoutAnEscapeCharacterItCounts", R"(a\;b;c)", ";", 1, 0, 1, "a\\"},
};

TEST(GetToken, Table) {
  for (const TokenCase& row : kTokens) {
    char buffer[8] = "before";
    EXPECT_EQ(GetToken(row.text, row.separator, row.number, buffer, sizeof(buffer), row.escape),
              row.result)
        << row.name;
    EXPECT_STREQ(buffer, row.buffer) << row.name;
  }
}

struct FindCase {
  const char* text;
  const char* pattern;
  std::ptrdiff_t textLength, patternLength;
  std::ptrdiff_t at;  // -1: nothing
};
const FindCase kFinds[] = {
    {"Subject: x", "SUBJECT:", -1, -1, 0},
    {"a subjecT", "Subject", -1, -1, 2},
    {"abc", "", -1, -1, -1},
    {"", "a", -1, -1, -1},
    {"abc", "abcd", -1, -1, -1},
    {"abc", "C", 2, -1, -1},
    {"abc", "Bxx", -1, 1, 1},
    {"a@b", "@", -1, -1, 1},
    {"a[b", "{", -1, -1, -1},      // next to the letters, but none
    {"\xC4", "\xE4", -1, -1, -1},  // no letter of ASCII
    {"aab", "AB", -1, -1, 1},
};

TEST(FindNoCase, Table) {
  for (const FindCase& row : kFinds) {
    const char* found = FindNoCase(row.text, row.pattern, row.textLength, row.patternLength);
    EXPECT_EQ(found == nullptr ? -1 : found - row.text, row.at) << row.text << " " << row.pattern;
  }
}

TEST(FindNoCase, LooksBehindANul) {
  const char text[] = "ab\0Cd";
  EXPECT_EQ(FindNoCase(text, "c", sizeof(text) - 1), text + 3);
}

struct ReplaceCase {
  const char* text;
  const char* find;
  const char* replacement;
  std::int32_t limit;
  bool rescan, exactCase;
  std::int32_t made;
  const char* result;
};
const ReplaceCase kReplacements[] = {
    {"a.b.c", ".", "--", 0, false, true, 2, "a--b--c"},
    {"a.b.c", ".", "", 0, false, true, 2, "abc"},
    {"a.b.c", ".", "--", 1, false, true, 1, "a--b.c"},
    {"Aa", "a", "x", 0, false, true, 1, "Ax"},
    {"Aa", "a", "x", 0, false, false, 2, "xx"},
    {"aaaa", "aa", "a", 0, false, true, 2, "aa"},
    {"aaaa", "aa", "a", 0, true, true, 3, "a"},
    {"\r\r\n\n", "\r\n", "", 0, true, true, 2, ""},
    {"\r\r\n\n", "\r\n", "", 0, false, true, 1, "\r\n"},
    {"aaaa", "aa", "a", 2, true, true, 2, "aa"},
    {"ab", "a", "aa", 0, true, true, 1, "aab"},  // would find itself for ever
    {"ab", "a", "A", 0, true, true, 1, "Ab"},
    {"abc", "", "x", 0, false, true, 0, "abc"},
    {"abc", "x", "y", 0, false, true, 0, "abc"},
};

TEST(ReplaceAll, SameResultInBothModes) {
  for (std::uint32_t (*mode)() : {+[] { return 1U; }, +[] { return 0U; }}) {
    SetBufferAppendModeSource(mode);
    for (const ReplaceCase& row : kReplacements) {
      std::string text = row.text;
      EXPECT_EQ(ReplaceAll(text, row.find, row.replacement, row.limit, row.rescan, row.exactCase),
                row.made)
          << row.text;
      EXPECT_EQ(text, row.result) << row.text;
    }
  }
  SetBufferAppendModeSource(nullptr);
}

}  // namespace
}  // namespace corvane
