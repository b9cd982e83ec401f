// Charset names, code pages against independent tables, and recoding.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <utility>

#include "message/CharsetTable.h"
#include "message/CodePages.h"
#include "message/Recode.h"
#include "message/Unicode.h"
#include "tests/message/MessageTestSupport.h"

namespace corvane::test {
namespace {

TEST(CharsetTable, FirstRowOfANameDecides) {
  const std::pair<const char*, int> kCases[] = {
      {"utf-8", 65001},       {"Utf8", 65001},       {"UTF-16", 1200},   {"us-ascii", 20127},
      {"iso-2022-jp", 50221}, {"ISO-8859-1", 28591}, {"latin1", 28591},  {"euc-kr", 949},
      {"gb2312", 936},        {"SHIFFT_JIS", 932},   {"shift-jis", 932}, {"CP819", 1252},
      {"hz-gb-2312", 52936},  {"x-iscii-pa", 57011}, {"utf-7", 0},       {"", 0},
      {"utf-8 ", 0},          {"iso-8859-10", 0},    {"cp1252x", 0},
  };
  for (const auto& [name, page] : kCases) EXPECT_EQ(LookupCodePage(name), page) << name;
  for (const CharsetRow& row : CharsetRows()) EXPECT_NE(LookupCodePage(row.name), 0) << row.name;
}

TEST(CodePages, SingleBytePagesMatchIndependentTables) {
  std::size_t judged = 0;
  for (const auto& row : ReadTable("single-byte-pages.tsv")) {
    int page = std::stoi(row[0]);
    std::istringstream expected(row[2]);
    std::string all;
    for (int i = 0; i < 256; ++i) all.push_back(static_cast<char>(i));
    std::u16string characters;
    ASSERT_TRUE(CodePageToUtf16(page, all, characters)) << page;
    ASSERT_EQ(characters.size(), 256U) << page;
    std::string word;
    for (std::size_t byte = 0; expected >> word; ++byte) {
      if (word == "----") continue;
      ++judged;
      EXPECT_EQ(characters[byte], std::stoi(word, nullptr, 16))
          << "page " << page << " byte " << std::hex << byte << " by " << row[1];
    }
    std::string back;
    ASSERT_TRUE(Utf16ToCodePage(page, characters, back));
    std::u16string characters2;
    CodePageToUtf16(page, back, characters2);
    for (std::size_t i = 0; i < 256; ++i) {
      if (characters[i] == 0xFFFD) continue;
      EXPECT_EQ(characters2[i], characters[i]) << page << " " << i;
    }
  }
  EXPECT_GT(judged, 18000U);
}

TEST(CodePages, MultiByteTextsMatchIndependentCodecs) {
  for (const auto& row : ReadTable("multi-byte-samples.tsv")) {
    std::string bytes = FromHex(row[2]);
    std::string text;
    EXPECT_TRUE(RecodeText(row[0], bytes, text)) << row[0];
    EXPECT_EQ(text, FromHex(row[3])) << row[0] << " by " << row[1];
    std::string back;
    EXPECT_TRUE(RecodeText("utf-8", text, back, row[0])) << row[0];
    std::string again;
    EXPECT_TRUE(RecodeText(row[0], back, again)) << row[0];
    EXPECT_EQ(again, text) << row[0] << ", there and back";
  }
}

TEST(CodePages, EveryPageOfTheWholeTableConvertsButTheFiveThatNobodyHas) {
  std::set<int> pages;
  const std::set<int> kNobody = {20001, 20003, 20004, 20005, 29001};
  for (const CharsetRow& row : CharsetRows()) {
    pages.insert(row.codePage);
    std::u16string wide;
    bool has = kNobody.count(row.codePage) == 0;
    EXPECT_EQ(HasCodePage(row.codePage), has) << row.codePage;
    EXPECT_EQ(CodePageToUtf16(row.codePage, "A", wide), has) << row.codePage;
    std::string bytes;
    EXPECT_EQ(Utf16ToCodePage(row.codePage, u"A1", bytes), has) << row.codePage;
    wide.clear();
    if (has && CodePageToUtf16(row.codePage, bytes, wide)) {
      EXPECT_EQ(wide, u"A1") << row.codePage;
    }
  }
  EXPECT_EQ(CharsetRows().size(), 327U);
  EXPECT_EQ(pages.size(), 142U);
}

const struct {
  std::string_view name, from, bytes, to;
  bool result;
  std::string_view text;
} kRecodes[] = {
    {"EqualNamesLeaveBytes", "X-Nobody", "\xFF", "x-nobody", true, "\xFF"},
    {"UnknownSourceLeavesBytes", "x-nobody", "\xE9", "utf-8", false, "\xE9"},
    {"UnknownTargetLeavesBytes", "latin1", "\xE9", "x-nobody", false, "\xE9"},
    {"NoNameIsUtf8", "", "\xC3\xA9", "iso-8859-1", true, "\xE9"},
    {"Latin1KeepsControls", "iso-8859-1", "\x80", "utf-8", true, "\xC2\x80"},
    {"Windows1252HasEuro", "windows-1252", "\x80", "utf-8", true, "\xE2\x82\xAC"},
    {"PageThatNobodyHasLeavesBytes", "x-Europa", "a\xE9", "utf-8", false, "a\xE9"},
    {"MissingCharacterBecomesMark", "utf-8", "\xE2\x82\xAC \xF0\x9F\x98\x80.", "latin1", true,
     "? ?."},
    {"MissingCharacterInShiftJis", "utf-8", "\xF0\x9F\x98\x80", "shift_jis", true, "?"},
    {"MarkOfEbcdicIsItsOwn", "utf-8", "\xE2\x82\xAC", "IBM037", true, "\x6F"},
    {"BrokenUtf8IsReplaced", "utf8", "a\xC3(\xE2\x82", "utf-8", true, "a\xEF\xBF\xBD(\xEF\xBF\xBD"},
    {"OverlongUtf8IsReplaced", "utf8", "\xC0\xAF", "utf-8", true, "\xEF\xBF\xBD\xEF\xBF\xBD"},
    {"Utf16HonoursItsMark", "utf-16", std::string_view("\xFE\xFF\x00\x41", 4), "utf-8", true, "A"},
    {"Utf16IsLittleEndian", "utf-16", std::string_view("\x41\x00", 2), "utf-8", true, "A"},
    {"HalfUnitIsReplaced", "utf-16", "\x41", "utf-8", true, "\xEF\xBF\xBD"},
    {"AsciiWithHighBytesIsRead", "us-ascii", "caf\xE9", "utf-8", true, "caf\xC3\xA9"},
    {"AsciiWithUtf8IsRead", "us-ascii", "caf\xC3\xA9", "utf-8", true, "caf\xC3\xA9"},
    {"BrokenShiftJisIsReplaced", "shift_jis", "\x82", "utf-8", true, "\xEF\xBF\xBD"},
    {"EscapeIsSeenInAsciiText", "iso-2022-jp", "\x1B$B%F\x1B(B", "utf-8", true, "\xE3\x83\x86"},
    {"TildeIsSeenInAsciiText", "hz-gb-2312", "~{VP~}", "utf-8", true, "\xE4\xB8\xAD"},
    {"ToUtf16", "utf-8", "A\xC3\xA9", "utf-16le", true, std::string_view("A\0\xE9\0", 4)},
};

TEST(RecodeText, Cases) {
  for (const auto& c : kRecodes) {
    std::string result;
    EXPECT_EQ(RecodeText(c.from, c.bytes, result, c.to), c.result) << c.name;
    EXPECT_EQ(result, c.text) << c.name;
  }
}

TEST(Unicode, EveryCharacterGoesThroughAllForms) {
  std::u16string wide;
  for (char32_t c = 0; c <= 0x10FFFF; c += c < 0x3000 ? 1 : 97) AppendUtf16(c, wide);
  std::string utf8 = ToUtf8(wide);
  EXPECT_TRUE(IsValidUtf8(utf8));
  EXPECT_EQ(ToWide(utf8), wide);
  for (std::size_t size : {2U, 4U}) {
    for (bool bigEndian : {false, true}) {
      std::string units;
      Utf16ToEncodedUnits(wide, size, bigEndian, units);
      std::u16string back;
      EncodedUnitsToUtf16(units, size, bigEndian, back);
      EXPECT_EQ(back, wide);
    }
  }
}

TEST(CodePages, NoBytesUpsetAPage) {
  std::string bytes = RandomBytes(5, 6000);
  for (const CharsetRow& row : CharsetRows()) {
    std::string text;
    // Equal names leave the bytes.
    if (row.name == "UTF-8" || !RecodeText(row.name, bytes, text)) continue;
    EXPECT_TRUE(IsValidUtf8(text)) << row.name;
  }
}

}  // namespace
}  // namespace corvane::test
