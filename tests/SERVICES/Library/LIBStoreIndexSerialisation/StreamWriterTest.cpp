#include <gtest/gtest.h>

#include "platform/Error.h"
#include "platform/FaultInjection.h"
#include "tests/SERVICES/Library/LIBStoreIndexSerialisation/IndexFixture.h"

namespace corvane::test {
namespace {

class StreamWriter : public IndexFixture {
 protected:
  // a to e with UIDs 1 to 5.
  void WriteFive() {
    std::string elements;
    for (std::uint32_t uid = 1; uid <= 5; ++uid) {
      elements += Element(std::string(1, static_cast<char>('a' + uid - 1)), uid, "old");
    }
    WriteIndex(IndexOf("x00000005", elements));
  }
  void SetSubject(StoreIndex* store, const std::string& id, const std::string& subject) {
    IndexItem item;
    ASSERT_TRUE(store->Index.GetItemByID(id, &item, false));
    item.SetText("SUBJECT", subject);
  }
};

TEST_F(StreamWriter, ANewIndexIsWrittenByteForByte) {
  StoreIndex& store = Loaded();
  store.Index.LastUID = 0x1A9;
  IndexItem item;
  item.Create();
  item.SetText("ID", "a&b.MAI");
  item.SetText("SUBJECT", "A&B<C>");
  item.SetText("CATEGORIES", "x<y");
  item.SetText("RECEIVED", "2026-01-01T00:00:00");
  item.SetNumber("SIZE", 12);
  item.SetText("not a name", "stays in memory");
  ASSERT_TRUE(store.Index.AddItem(&item));
  ASSERT_TRUE(Save(&store));
  const std::string text = IndexText();
  EXPECT_EQ(text.substr(0, 33), "<BASEELEMENT LASTUID=\"x000001aa\">");
  for (const char* part : {"<ELEMENT ID=\"a&b.MAI\" UID=\"426\">", "<SIZE>12</SIZE>",
                           "<CATEGORIES>x&lt;y</CATEGORIES>", "<SUBJECT>A&amp;B&lt;C&gt;</SUBJECT>",
                           "<RECEIVED>2026-01-01T00:00:00</RECEIVED>"}) {
    EXPECT_PRED2(Holds, text, part);
  }
  EXPECT_FALSE(Holds(text, "SEQ")) << text;
  EXPECT_FALSE(Holds(text, "not a name")) << text;
  EXPECT_EQ(text.substr(text.size() - 26), "</ELEMENT></BASEELEMENT>\r\n");
  EXPECT_EQ(ItemsOnDisk(), "a&b.MAI=A&B<C> ");
}

TEST_F(StreamWriter, AnInsertionByTheHeaderAloneTouchesOnlyTheEnd) {
  WriteFive();
  const std::string before = IndexText();
  StoreIndex& store = Loaded(kHeaderOnly);
  ASSERT_TRUE(Add(&store, "f", "new"));
  ASSERT_TRUE(Save(&store));
  const std::string after = IndexText();
  EXPECT_EQ(after.substr(23, 8), "00000006");
  EXPECT_EQ(after.substr(31, before.size() - 31 - 16), before.substr(31, before.size() - 31 - 16));
  EXPECT_EQ(ItemsOnDisk(), "a=old b=old c=old d=old e=old f=new ");
}

TEST_F(StreamWriter, RemovalsAreBlankedInPlaceAndNothingMoves) {
  WriteFive();
  const std::string before = IndexText();
  StoreIndex& store = Loaded(kKeys);
  EXPECT_EQ(store.Index.RemoveItems("b,e"), 2U);
  ASSERT_TRUE(Save(&store));
  EXPECT_TRUE(store.Index.FileInSync);
  const std::string after = IndexText();
  EXPECT_EQ(after.size(), before.size());
  EXPECT_PRED2(Holds, after, "<ELEMENT ID=\"-\" UID=\"-\"><READ>0</READ><SUBJECT>old");
  EXPECT_EQ(ItemsOnDisk(), "a=old c=old d=old ");
  EXPECT_EQ(store.Index.RemoveItems("a,c,d"), 3U);
  ASSERT_TRUE(Save(&store)) << "offsets are still true";
  EXPECT_EQ(ItemsOnDisk(), "");
  StoreIndex& again = Loaded();
  EXPECT_EQ(again.Index.LastUID, 5U);
}

const struct {
  const char *name, *filter, *changed;
  std::string subject;
} kChanges[] = {
    {"GrowsInTheMiddle", "c", "c", "much longer than it was before, longer than an element"},
    {"ShrinksInTheMiddle", "c", "c", "x"},
    {"SameSize", "c", "c", "new"},
    {"FirstOfTwo", "a,d", "a", "a little longer"},
    {"LastOfAll", "e", "e", "the last one is longer now"},
    {"WithoutAFilter", "", "b", "longer than before, with everything in memory"},
    {"OverflowsTheNextOne", "a,b,d", "a", std::string(300, 'z')},
    {"OverflowsTheGapBehindTheNextOne", "a,b", "a", std::string(120, 'z')},
    {"OverflowsAGapBehindItself", "a,c", "a", std::string(300, 'z')},
};

TEST_F(StreamWriter, AChangeKeepsEverythingThatWasNotLoaded) {
  for (const auto& c : kChanges) {
    SCOPED_TRACE(c.name);
    WriteFive();
    StoreIndex& store = Loaded(kAllProperties, c.filter);
    SetSubject(&store, c.changed, c.subject);
    EXPECT_TRUE(Save(&store));
    std::string expected;
    for (const char* id : {"a", "b", "c", "d", "e"}) {
      expected += std::string(id) + "=" + (std::string(id) == c.changed ? c.subject : "old") + " ";
    }
    EXPECT_EQ(ItemsOnDisk(), expected);
    SetSubject(&store, c.changed, "again");
    EXPECT_TRUE(Save(&store));
    EXPECT_PRED2(Holds, ItemsOnDisk(), std::string(c.changed) + "=again");
    EXPECT_EQ(std::count(expected.begin(), expected.end(), '='), 5);
  }
  ASSERT_EQ(heard_.all.size(), 1U);
  EXPECT_PRED2(Holds, heard_.all[0].text,
               "Corrupting index " + folder_ +
                   "\\_index.xml. Item size for a has "
                   "grown so much that the gap will overflow the next item.");
}

const struct {
  const char* name;
  platform::FileCall call;
  std::uint32_t durability;
  bool saves;
  const char* b;  // on the disk afterwards
} kFaults[] = {
    {"NoRoomForWhatGrew", platform::FileCall::kTruncate, 1, false, "b=old"},
    {"NotMadeDurable", platform::FileCall::kFlush, 1, false, "b=longer than it was"},
    {"DurabilityGivenUp", platform::FileCall::kFlush, 0, true, "b=longer than it was"},
};

TEST_F(StreamWriter, AChangeInPlaceHasRoomAndIsDurable) {
  for (const auto& c : kFaults) {
    SCOPED_TRACE(c.name);
    Set("Delivery Durability", c.durability);
    WriteFive();
    StoreIndex& store = Loaded();
    SetSubject(&store, "b", "longer than it was");
    platform::ArmFault({.error = platform::kErrorDiskFull,
                        .calls = platform::FileCallBit(c.call),
                        .lasting = true});
    EXPECT_EQ(Save(&store), c.saves);
    platform::DisarmFault();
    EXPECT_EQ(ItemsOnDisk(), "a=old " + std::string(c.b) + " c=old d=old e=old ");
  }
}

// What a partly loaded index holds and what only the file has come together.
TEST_F(StreamWriter, PartlyLoadedIndexesNeverDropTheRest) {
  WriteFive();
  StoreIndex& keys = Loaded(kKeys);
  keys.Index.ByID.Find("b")->SetText("CC", "set by its key", false);
  ASSERT_TRUE(Save(&keys));
  EXPECT_EQ(ItemsOnDisk(), "a=old b=old c=old d=old e=old ");
  StoreIndex& header = Loaded(kHeaderOnly);
  ASSERT_TRUE(Add(&header, "f"));
  ASSERT_TRUE(Save(&header));
  ASSERT_TRUE(Add(&header, "g"));
  header.Index.ByID.Find("f")->Remove("SUBJECT");
  ASSERT_TRUE(Save(&header)) << "a second save of one object";
  IndexItem item;
  ASSERT_TRUE(header.Index.GetItemByID("b", &item, false));
  EXPECT_EQ(item.GetText("CC"), "set by its key");
  StoreIndex& deep = Loaded(kHeaderOnly);
  ASSERT_TRUE(Add(&deep, "h"));
  EXPECT_TRUE(deep.Index.ItemExists("a")) << "read deeper";
  EXPECT_TRUE(deep.Index.ItemExists("h")) << "and not forgotten";
  ASSERT_TRUE(Save(&deep));
  EXPECT_EQ(ItemsOnDisk(), "a=old b=old c=old d=old e=old f= g=s h=s ");
}

TEST_F(StreamWriter, AForeignChangeIsRefusedOrOverwritten) {
  WriteFive();
  StoreIndex part(&files_);
  StoreIndex whole(&files_);
  ASSERT_TRUE(Load(&part, kAllProperties, "a"));
  ASSERT_TRUE(Load(&whole, kAllProperties));
  SetSubject(&part, "a", "mine");
  SetSubject(&whole, "a", "mine");
  WriteIndex(IndexOf("x00000005", Element("a", 1, "foreign")));
  EXPECT_FALSE(Save(&part));
  ASSERT_FALSE(heard_.all.empty());
  EXPECT_PRED2(Holds, heard_.all[0].text, "Index was not fully loaded: aborting save.");
  EXPECT_EQ(ItemsOnDisk(), "a=foreign ");
  EXPECT_TRUE(Save(&whole));
  EXPECT_EQ(ItemsOnDisk(), "a=mine b=old c=old d=old e=old ");
}

// A gap that doesn't begin and end with elements can't be copied along.
TEST_F(StreamWriter, WhatIsNotWhereItShouldBeIsNotWrittenOver) {
  WriteFive();
  StoreIndex& store = Loaded(kAllProperties, "b");
  store.Index.ByID.Find("b")->SetLength(store.Index.ByID.Find("b")->GetLength() + 3);
  SetSubject(&store, "b", "new");
  EXPECT_TRUE(Save(&store));
  ASSERT_FALSE(heard_.all.empty());
  EXPECT_PRED2(Holds, heard_.all[0].text,
               "Corrupting index " + folder_ + "\\_index.xml" +
                   ". Gap after b does not start at the start of an element.");
  EXPECT_EQ(ItemsOnDisk(), "a=old b=new c=old d=old e=old ");
  // A removed element that isn't there any more is left out all the same.
  StoreIndex& moved = Loaded(kKeys);
  moved.Index.ByID.Find("c")->SetOffset(40);
  moved.Index.RemoveItems("c");
  EXPECT_TRUE(Save(&moved));
  EXPECT_EQ(ItemsOnDisk(), "a=old b=new d=old e=old ");
}

// A header of another writer, in which LASTUID's digits stand elsewhere.
TEST_F(StreamWriter, AHeaderOfAnotherLengthIsNotPatched) {
  WriteIndex(IndexOf("x5", Element("a", 5, "old")));
  StoreIndex& store = Loaded(kHeaderOnly);
  ASSERT_TRUE(Add(&store, "b", "new"));
  EXPECT_TRUE(Save(&store));
  EXPECT_EQ(IndexText().substr(0, 33), "<BASEELEMENT LASTUID=\"x00000006\">");
  EXPECT_EQ(ItemsOnDisk(), "a=old b=new ");
}

TEST_F(StreamWriter, NothingIsAddedBehindATornFile) {
  WriteIndex("<BASEELEMENT LASTUID=\"x00000001\">" + Element("a", 1, "x"));
  const std::string before = IndexText();
  StoreIndex& store = Loaded(kHeaderOnly);
  ASSERT_TRUE(Add(&store, "b"));
  EXPECT_FALSE(Save(&store));
  EXPECT_EQ(IndexText(), before);
}

TEST_F(StreamWriter, TheOffsetCacheTellsWhereElementsLie) {
  Set("Offset Index", 1U);
  StoreIndex& store = Loaded();
  for (const char* id : {"a", "b", "c"}) {
    ASSERT_TRUE(Add(&store, id));
    store.Index.ByID.Find(id)->SetText("RECEIVED", "1970-01-01T00:00:00", false);
  }
  ASSERT_TRUE(Save(&store));
  const std::string cache = ReadBytes(folder_ + "/_index.bin");
  ASSERT_EQ(cache.size(), 24U + 3 * 16);
  EXPECT_EQ(cache.substr(0, 24), std::string("\1") + std::string(23, '\0'));
  const auto word = [&cache](std::size_t at) {
    std::uint32_t value = 0;
    std::memcpy(&value, cache.data() + at, sizeof value);
    return value;
  };
  for (std::uint32_t i = 0; i < 3; ++i) {
    const std::string uid = "UID=\"" + std::to_string(word(24 + 16 * i + 4)) + "\"";
    EXPECT_PRED2(Holds, IndexText().substr(word(24 + 16 * i), 40), uid);
  }
  StoreIndex& part = Loaded(kHeaderOnly);
  ASSERT_TRUE(Add(&part, "d"));
  ASSERT_TRUE(Save(&part));
  EXPECT_FALSE(platform::FileExists(folder_ + "/_index.bin")) << "a stale cache goes";
}

TEST_F(StreamWriter, ItSaysWhyItCouldNotWrite) {
  WriteFive();
  StoreIndex& store = Loaded();
  SetSubject(&store, "a", "x");
  const auto held = platform::File::Open(index_, platform::Access::kRead, platform::kShareRead,
                                         platform::Disposition::kOpenExisting);
  EXPECT_FALSE(Save(&store));
  EXPECT_EQ(Clock().Slept(), 20 * 2000);
  ASSERT_FALSE(heard_.all.empty());
  EXPECT_PRED2(Holds, heard_.all[0].text, "was retried for 40 seconds");
  EXPECT_EQ(store.Index.FirstModifiedUID, 1U) << "still to be written";
}

}  // namespace
}  // namespace corvane::test
