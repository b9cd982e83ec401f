#include <gtest/gtest.h>

#include "CLIENTS/CVMAPI/CVMSLIB/common/Array.h"
#include "SERVICES/Library/LIBStoreIndexType/IndexItem.h"
#include "tests/support/ChildProcess.h"

namespace corvane::test {
namespace {

struct Listener : IndexItemOwner {
  void NoteModifiedUID(std::uint32_t uid) override { noted.push_back(uid); }
  std::vector<std::uint32_t> noted;
};

TEST(IndexItem, TextsAndNumbersComeBackInBothForms) {
  IndexItem item;
  item.Create();
  EXPECT_FALSE(item.Has("SUBJECT"));
  EXPECT_EQ(item.GetText("SUBJECT"), "");
  EXPECT_EQ(item.GetNumber("SUBJECT"), 0U);
  const struct {
    const char *name, *text, *asText;
    std::uint32_t asNumber;
  } kCases[] = {
      {"SUBJECT", "12 monkeys", "12 monkeys", 12},
      {"SUBJECT", "monkeys 12", "monkeys 12", 0},
      {"SUBJECT", "  7", "  7", 7},
      {"SIZE", "4096", "4096", 4096},
      {"SIZE", "x", "0", 0},
      {"SIZE", "99999999999", "4294967295", 4294967295},
  };
  for (const auto& c : kCases) {
    EXPECT_TRUE(item.SetText(c.name, c.text));
    EXPECT_EQ(item.GetText(c.name), c.asText) << c.text;
    EXPECT_EQ(item.GetNumber(c.name), c.asNumber) << c.text;
  }
  char buffer[4];
  item.SetText("SUBJECT", "abcdef");
  item.GetText("SUBJECT", buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "abc");
}

TEST(IndexItem, AnEmptyTextRemovesOnlyWhereItIsAllowedTo) {
  IndexItemPropertyContainer item;
  item.SetText("SUBJECT", "old", false);
  item.SetText("SUBJECT", "", false);
  EXPECT_EQ(item.GetText("SUBJECT"), "old");
  item.SetText("SUBJECT", "", true);
  EXPECT_FALSE(item.Has("SUBJECT"));
}

// A number below the highest slot reads 0 and counts as there, whoever set what.
TEST(IndexItem, NumbersBelowTheHighestSlotAreThere) {
  IndexItemPropertyContainer item;
  item.SetText("ID", "a.MAI", false);
  EXPECT_FALSE(item.Has("READ"));
  item.SetText("A NAME THAT COMES LATE", "x", false);
  EXPECT_TRUE(item.Has("READ"));
  EXPECT_EQ(item.GetText("READ"), "0");
  EXPECT_FALSE(item.Has("NEVER SET TEXT"));
}

TEST(IndexItem, FlagsDecideWhetherItIsRead) {
  IndexItem item;
  item.Create();
  item.SetText("FLAGSTATUS", "\\Answered \\seen");
  EXPECT_EQ(item.GetNumber("READ"), 1U);
  item.SetText("FLAGSTATUS", "\\RECENT");
  EXPECT_EQ(item.GetNumber("READ"), 0U);
  item.SetText("ID", "a.MAI");
  item.SetNumber("UID", 9);
  item.ClearExceptKeys();
  EXPECT_EQ(item.GetText("ID"), "a.MAI");
  EXPECT_EQ(item.GetNumber("UID"), 9U);
  EXPECT_FALSE(item.Has("FLAGSTATUS"));
}

TEST(IndexItem, TheOwnerHearsOfEveryChangeButSeq) {
  Listener owner;
  IndexItemPropertyContainer item;
  item.SetNumber("UID", 5);
  item.SetOwner(&owner);
  item.SetNumber("SEQ", 3);
  EXPECT_TRUE(owner.noted.empty());
  item.SetText("SUBJECT", "x", false);
  item.Remove("SUBJECT");
  item.Remove("SUBJECT");  // nothing there any more
  item.Clear();
  EXPECT_EQ(owner.noted, (std::vector<std::uint32_t>{5, 5, 5}));
}

TEST(IndexItem, CopiesHaveTheirOwnTextsAndNoOwner) {
  Listener owner;
  IndexItemPropertyContainer item;
  item.SetText("ID", "a.MAI", false);
  item.SetText("SUBJECT", "one", false);
  item.SetOffset(33);
  item.SetLength(100);
  item.SetOwner(&owner);
  IndexItem handle;
  handle.Attach(&item, true);
  item.SetText("SUBJECT", "two", false);
  EXPECT_EQ(handle.GetText("SUBJECT"), "one");
  EXPECT_EQ(handle.Container()->GetOwner(), nullptr);
  EXPECT_EQ(handle.Container()->GetOffset(), 33U);
  const std::vector<std::string> fields = {"SUBJECT", "CC"};
  PropertyTexts texts;
  item.Export(&texts, &fields);
  EXPECT_EQ(texts, (PropertyTexts{{"CC", ""}, {"SUBJECT", "two"}}));
}

TEST(IndexItem, ABatchReplacesAllAndItsLastValueCounts) {
  ItemMemory memory;
  const std::unique_ptr<IndexItemPropertyContainer> made(
      IndexItemPropertyContainer::MakeIn(&memory));
  IndexItemPropertyContainer& item = *made;
  item.SetText("CC", "gone", false);
  PropertyBatch batch;
  const PropertyId subject = FindProperty(nullptr, "SUBJECT");
  batch.AddText(subject, "first");
  batch.AddText(subject, "a longer second");
  batch.AddText(subject, "");
  batch.AddNumber(kPropertyUID, 8);
  item.Take(batch, &memory);
  EXPECT_FALSE(item.Has("CC"));
  EXPECT_EQ(item.GetText("SUBJECT"), "a longer second");
  item.SetText("SUBJECT", "its own", false);
  EXPECT_EQ(item.GetText("SUBJECT"), "its own");
  EXPECT_EQ(item.GetNumber("UID"), 8U);
}

TEST(PropertyMap, APrivateCopyLearnsTheProcessesNewNames) {
  PropertyMap copy = CloneGlobalPropertyMap();
  const PropertyId late = FindProperty(nullptr, "LEARNT LATE");
  EXPECT_EQ(copy.count("LEARNT LATE"), 0U);
  EXPECT_EQ(FindProperty(&copy, "LEARNT LATE").Index, late.Index);
  EXPECT_EQ(copy.count("LEARNT LATE"), 1U);
  PropertyMap empty;
  EXPECT_EQ(FindProperty(&empty, "READ").Index, 2);
}

// Made-up names of files fill the map; those of mail items find their place behind them.
TEST(PropertyMap, AFullMapStillTakesTheNamesOfMailItems) {
  const int wrong = RunInChild([] {
    for (std::size_t i = 0; i < kMaximumPropertyNames; ++i) {
      static_cast<void>(FindProperty(nullptr, "MADE-UP" + std::to_string(i)));
    }
    const bool full = FindProperty(nullptr, "ONE MORE").Index == -1;
    return full && FindProperty(nullptr, "THREAD").Index > 0 && PropertySEQ().Index > 0 ? 0 : 1;
  });
  EXPECT_EQ(wrong, 0);
}

TEST(PropertyMap, NamesThatAFileCantHoldAreTold) {
  for (const char* good : {"SUBJECT", "_x", "a-b.c1"}) EXPECT_TRUE(IsPropertyName(good)) << good;
  for (const char* bad : {"", "1A", "A B", "A<B", "A&B", "A\"", "/A", "ELEMENTS", "BASEELEMENT"}) {
    EXPECT_FALSE(IsPropertyName(bad)) << bad;
  }
  EXPECT_FALSE(IsPropertyName(std::string(256, 'A')));
}

TEST(Array, GrowsByItsModeAndTellsWhatIsWrong) {
  Array<int> adds(5, 5, ArrayGrowth::kAdd);
  for (int i = 0; i < 6; ++i) adds.Add(i);
  EXPECT_EQ(adds.Capacity(), 10U);
  EXPECT_EQ(adds[5], 5);
  EXPECT_THROW(static_cast<void>(adds[6]), Exception);
  Array<char> stuck(2, 0, ArrayGrowth::kMultiply);
  stuck.Resize(2);
  EXPECT_EQ(stuck[1], '\0');
  stuck.Resize(7);
  EXPECT_EQ(stuck.Capacity(), 7U) << "what is asked for counts when it is more";
  const Array<char> copy = stuck;
  EXPECT_EQ(copy.Count(), 7U);
}

}  // namespace
}  // namespace corvane::test
