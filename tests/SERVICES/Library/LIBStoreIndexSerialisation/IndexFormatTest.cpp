#include <gtest/gtest.h>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexBackup.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFormat.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/PositionIndex.h"

namespace corvane {
namespace {

using namespace std::string_literals;

TEST(IndexFormat, LastUidHasThreeForms) {
  const struct {
    const char* text;
    std::uint32_t value;
    bool isNew;
  } kCases[] = {{"x0000002A", 42, true}, {"0000002a", 42, false}, {"123", 123, false},
                {"", 0, false},          {"x", 0, true},          {"zzz", 0, false}};
  for (const auto& c : kCases) {
    const auto read = indexformat::ParseLastUid(c.text);
    EXPECT_EQ(read.value, c.value) << c.text;
    EXPECT_EQ(read.isNewForm, c.isNew) << c.text;
  }
}

const struct {
  std::string name, value;
  bool validUtf8;
  std::string stored, readBack;
} kValues[] = {
    {"Markup", "A&B<C>", true, "A&amp;B&lt;C&gt;", "A&B<C>"},
    {"LineEndsStay", "a\tb\r\nc", true, "a\tb\r\nc", "a\tb\r\nc"},
    {"Utf8Stays", "Gr\xC3\xBCn\xC3\x9F", true, "Gr\xC3\xBCn\xC3\x9F", "Gr\xC3\xBCn\xC3\x9F"},
    {"BrokenUtf8IsBlank", "a\xE4z", true, "a z", "a z"},
    {"OverlongIsBlank", "\xC0\xAF\xED\xA0\x80x", true, "     x", "     x"},
    {"ControlsAreBlank", "a\x01\x7Fz", true, "a  z", "a  z"},
    {"ControlsAreReferences", "a\x01z", false, "a&#x1;z", "a\x01z"},
    {"BrokenUtf8IsReplaced", "a\xE4", false, "a\xEF\xBF\xBD", "a\xEF\xBF\xBD"},
    {"HighCharactersAreHalves", "\xF0\x9F\x98\x80", true, "&#xd83d;&#xde00;", "\xF0\x9F\x98\x80"},
    {"EntitiesOfTheTextStay", "&lt; &#65;", true, "&amp;lt; &amp;#65;", "&lt; &#65;"},
};

TEST(IndexFormat, ValuesAreWrittenAndReadBack) {
  for (const auto& c : kValues) {
    std::string stored;
    indexformat::AppendValue(&stored, c.value, true, c.validUtf8);
    EXPECT_EQ(stored, c.stored) << c.name;
    std::string buffer;
    EXPECT_EQ(indexformat::DecodeValue(stored, &buffer), c.readBack) << c.name;
  }
}

TEST(IndexFormat, ReferencesAreSingleBytes) {
  const std::pair<const char*, std::string> kCases[] = {
      {"&#65;&#x42;&#x1e4;", "AB\xE4"},
      {"&#4294967361;&#x100000000000042;", "AB"},
      {"&#65", "&#65"},
      {"&#;", "&#;"},
      {"&#x;", "&#x;"},
      {"&#38;lt;", "<"},
      {"&amp;lt;", "&lt;"},
      {"&#xd83d;x", "=x"},
      {"&", "&"},
  };
  for (const auto& [text, value] : kCases) {
    std::string buffer;
    EXPECT_EQ(indexformat::DecodeValue(text, &buffer), value) << text;
  }
}

// A name is written as it stands unless it would break the tag or read back as another.
TEST(IndexFormat, NamesReadBackWhateverTheyHold) {
  const std::pair<std::string, std::string> kCases[] = {
      {"a.MAI", "a.MAI"},          {"a&b.MAI", "a&b.MAI"},         {"a<b>.MAI", "a&lt;b&gt;.MAI"},
      {"q\".MAI", "q&#x22;.MAI"},  {"a&lt;.MAI", "a&amp;lt;.MAI"}, {"--", "&#x2d;&#x2d;"},
      {"a\x01.MAI", "a&#x1;.MAI"}, {"gr\xFC.MAI", "gr\xFC.MAI"},
  };
  for (const auto& [name, stored] : kCases) {
    EXPECT_EQ(indexformat::EncodeID(name), stored);
    std::string buffer;
    EXPECT_EQ(indexformat::DecodeValue(stored, &buffer), name);
    EXPECT_FALSE(indexformat::IsTombstone(stored));
  }
  const std::string head = indexformat::ElementHead("a<.MAI", "12");
  EXPECT_EQ(head, "<ELEMENT ID=\"a&lt;.MAI\" UID=\"12\"");
  EXPECT_EQ(indexformat::TombstoneHead("a<.MAI", "12"), "<ELEMENT ID=\"---------\" UID=\"--\"");
  EXPECT_EQ(indexformat::TombstoneHead("a<.MAI", "12").size(), head.size());
}

TEST(IndexFormat, DatesOfTheOffsetCacheAreFileTimes) {
  EXPECT_EQ(FileTimeOfDate("1601-01-01T00:00:00"), 0U);
  EXPECT_EQ(FileTimeOfDate("1970-01-01T00:00:01"), 116'444'736'010'000'000U);
  EXPECT_EQ(FileTimeOfDate("2024-02-29T12:00:00"), 133'536'816'000'000'000U);
  EXPECT_EQ(FileTimeOfDate("yesterday"), 0U);
}

TEST(IndexBackup, AgesCountMonthsOf30Days) {
  EXPECT_EQ(MinutesOfSpan(59), 0);
  EXPECT_EQ(MinutesOfSpan(370 * 60), 370);
  EXPECT_EQ(MinutesOfSpan(31LL * 86'400), 30 * 1440) << "the first of February";
  EXPECT_EQ(MinutesOfSpan(365LL * 86'400), 365 * 1440);
}

}  // namespace
}  // namespace corvane
