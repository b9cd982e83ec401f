#include <gtest/gtest.h>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexInspection.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/StreamIndexParser.h"
#include "tests/SERVICES/Library/LIBStoreIndexSerialisation/IndexFixture.h"

namespace corvane::test {
namespace {

class StreamReader : public IndexFixture {};

const std::string kTwo = Element("a", 1, "one") + Element("b", 2, "two");
const struct {
  std::string name, file;
  std::int32_t level, state;
  std::uint32_t lastUid;
  std::string items;
  bool rewrites;
} kLoads[] = {
    {"HeaderAlone", IndexOf("x00000005", kTwo), 1, 1, 5, "", false},
    {"Keys", IndexOf("x00000005", kTwo), 2, 2, 5, "a= b= ", false},
    {"All", IndexOf("x00000005", kTwo), 4, 4, 5, "a=one b=two ", false},
    {"EmptyAtHeader", "<BASEELEMENT LASTUID=\"x00000005\"/>\r\n", 1, 4, 5, "", true},
    {"EmptyAtAll", "<BASEELEMENT LASTUID=\"x00000005\"/>\r\n", 4, 4, 5, "", true},
    {"DecimalIsReadWhole", IndexOf("123", Element("b", 9, "two") + Element("a", 3, "one")), 1, 4,
     123, "a=one b=two ", true},
    {"LeadingZeroIsHexadecimal", IndexOf("0000000f", kTwo), 2, 4, 15, "a=one b=two ", true},
    {"TombstonesCountForNothing",
     IndexOf("x00000002", "<ELEMENT ID=\"-\" UID=\"-\"><READ>0</READ></ELEMENT>" + kTwo), 4, 4, 2,
     "a=one b=two ", false},
    {"EqualUidsLoseTheSecond",
     IndexOf("x00000002", Element("a", 1, "one") + Element("b", 1, "two")), 4, 4, 2, "a=one ",
     true},
    {"UidZeroGetsAFreshOne", IndexOf("x00000002", Element("a", 0, "one")), 4, 4, 3, "a=one ", true},
    {"LastUidTooLow", IndexOf("x00000001", kTwo), 2, 2, 2, "a= b= ", true},
    {"EscapedAndNot", IndexOf("x00000001", Element("a", 1, "A&amp;B&lt;&#65;")), 4, 4, 1,
     "a=A&B<A ", false},
    {"ElementsWithoutProperties", IndexOf("x00000001", "<ELEMENT ID='a' UID='1'/>"), 4, 4, 1,
     "a= ", false},
};

TEST_F(StreamReader, ReadsEveryFormAsFarAsItIsAsked) {
  for (const auto& c : kLoads) {
    SCOPED_TRACE(c.name);
    WriteIndex(c.file);
    StoreIndex& store = Loaded(c.level);
    EXPECT_EQ(store.Index.LoadState, c.state);
    EXPECT_EQ(store.Index.LastUID, c.lastUid);
    EXPECT_EQ(Items(store), c.items);
    EXPECT_EQ(store.Index.FullRewrite, c.rewrites);
  }
  EXPECT_TRUE(heard_.all.empty());
}

const std::string kHead = "<BASEELEMENT LASTUID=\"x00000002\">";
const std::string kTail = "</BASEELEMENT>\r\n";
const std::pair<std::string, std::string> kMalformed[] = {
    {"</BASEELEMENT>" + kHead + kTail,
     "Encountered root element end tag before root element start tag"},
    {kHead + kTail + kTail,
     "Encountered root element end tag after already encountering a root element end tag"},
    {kHead + kHead + kTail,
     "Encountered root element start tag after already encountering a root element start tag"},
    {Element("a", 1, "x") + kHead + kTail,
     "Encountered element tag before encountering a root element start tag"},
    {kHead + kTail + Element("a", 1, "x"),
     "Encountered element tag after already encountering a root element end tag"},
    {kHead + "<ELEMENT ID=\"a\" UID=\"1\"><CC>x<ELEMENT ID=\"b\">" + kTail,
     "Encountered element start tag nested within a property (CC)"},
    {kHead + "</ELEMENT>" + kTail,
     "Encountered element end tag before encountering a matching element start tag"},
    {kHead + "<ELEMENT ID=\"a\"><ELEMENT ID=\"b\"></ELEMENT>" + kTail,
     "Encountered element start tag nested within another element"},
    {kHead + Element("a", 2, "x") + Element("b", 1, "y") + kTail,
     "Encountered element with UID out of order. This UID=1, Previous UID=2, Largest/Last UID=2"},
    {kHead + Element("a", 0x80000000, "x") + kTail,
     "Encountered element with UID out of order. This UID=-2147483648, Previous UID=0, "
     "Largest/Last UID=2"},
    {IndexOf("1", Element("a", 0xFFFFFFFF, "x")),
     "Encountered element with UID out of order. This UID=-1, Previous UID=0, Largest/Last UID=1"},
    {IndexOf("x80000000", ""),
     "Encountered root element start tag with a LASTUID beyond the largest UID"},
    {kHead + "<ELEMENT ID=\"a UID=1></ELEMENT>" + kTail,
     "Unable to parse ID attribute, Tag=[ELEMENT ID=\"a UID=1]"},
    {kHead + "<ELEMENT UID=\"1\"></ELEMENT>" + kTail,
     "Encountered element start tag without an ID"},
    {"<CC>" + kHead + kTail,
     "Encountered property tag (CC) before encountering a root element start tag"},
    {kHead + kTail + "<CC>",
     "Encountered property tag (CC) after already encountering a root element end tag"},
    {kHead + "<CC>" + kTail, "Encountered property tag (CC) outside an element"},
    {kHead + "</CC>" + kTail, "Encountered property tag (CC) outside an element"},
    {kHead + "<ELEMENT ID=\"a\"><CC>x<TO>",
     "Encountered property start tag (TO) nested within another property (CC)"},
    {kHead + "<ELEMENT ID=\"a\"><CC>x</TO>",
     "Encountered property end tag (TO) that does not match previous property start tag (CC)"},
    {kHead + Element("a", 1, "x"), "Did not find root element end tag"},
    {"no index at all", "Did not find root element start tag [15:no index at all]"},
    {kHead + Element("a", 1, "x") + "</BASEELEM", "Did not find root element end tag"},
};

TEST_F(StreamReader, TellsTheFirstThingThatIsWrong) {
  for (const auto& [file, message] : kMalformed) {
    WriteIndex(file);
    heard_.all.clear();
    StoreIndex store(&files_);
    EXPECT_FALSE(Load(&store, kAllProperties, {}, 0, false, true)) << message;
    EXPECT_EQ(store.Index.ItemCount(), 0U) << message;
    EXPECT_EQ(IndexText(), file) << "without backups nothing is put aside";
    ASSERT_EQ(heard_.all.size(), 2U) << message;
    EXPECT_PRED2(Holds, heard_.all[0].text,
                 "] Malformed index detected: " + message + " (" + folder_ + ")\n");
    EXPECT_PRED2(Holds, heard_.all[1].text, "Failed to deserialise index: " + folder_ + ".");
  }
  WriteIndex("");
  StoreIndex quiet(&files_);
  heard_.all.clear();
  EXPECT_FALSE(Load(&quiet, kAllProperties));
  EXPECT_TRUE(heard_.all.empty()) << "a quiet load tells the event log nothing";
}

// A disk that fails says nothing about the file.
TEST_F(StreamReader, AReadThatFailsIsNoFaultOfTheFile) {
  WriteIndex(IndexOf("x00000002", kTwo));
  auto unreadable = platform::File::Open(index_, platform::Access::kWrite, platform::kShareAll,
                                         platform::Disposition::kOpenExisting);
  SORTEDSTOREINDEXTYPE index(&files_);
  IndexKeySet keys;
  EXPECT_EQ(StreamIndexParser(&index, &unreadable, folder_, {}, &keys).Parse(),
            ParseResult::kUnreadable);
}

TEST_F(StreamReader, AFilterAdmitsItsItems) {
  WriteIndex(IndexOf("x00000003", kTwo + Element("c", 3, "three")));
  const std::pair<const char*, const char*> kFilters[] = {
      {"b", "b=two "}, {"c,a", "a=one c=three "}, {"*", "a=one b=two c=three "}, {"zz", ""}};
  for (const auto& [filter, items] : kFilters) {
    SCOPED_TRACE(filter);
    StoreIndex& store = Loaded(kAllProperties, filter);
    EXPECT_EQ(Items(store), items);
  }
}

TEST_F(StreamReader, ItemsWithoutTheirFileAreLeftOut) {
  MakeFile("b");
  WriteIndex(IndexOf("x00000002", kTwo + Element("../Inbox/b", 3, "out")));
  StoreIndex& store = Loaded(kAllProperties, {}, 1);
  EXPECT_EQ(Items(store), "b=two ");
  EXPECT_TRUE(store.Index.FullRewrite);
}

TEST_F(StreamReader, OfTwoNamesTheFirstOneCounts) {
  WriteIndex(IndexOf("x00000001", "<ELEMENT id=\"x\" ID=\"a\" UID=\"1\" ID=\"b\"></ELEMENT>"));
  for (const char* filter : {"", "a"}) EXPECT_EQ(Items(Loaded(kAllProperties, filter)), "a= ");
  EXPECT_EQ(Items(Loaded(kAllProperties, "b")), "");
  EXPECT_TRUE(Loaded().Index.NeedsSave());
  UseStreams(false, true);
  EXPECT_EQ(ItemsOnDisk(), "a= ");
}

TEST_F(StreamReader, ATombstonesUidIsNotInTheOrder) {
  WriteIndex(IndexOf("x00000002", "<ELEMENT UID=\"9\" ID=\"-\"></ELEMENT>" + kTwo));
  EXPECT_EQ(ItemsOnDisk(), "a=one b=two ");
}

TEST_F(StreamReader, NumbersMayBeWrittenByReferences) {
  WriteIndex(IndexOf("x00000012",
                     "<ELEMENT ID=\"a\" UID=\"1&#50;\"><SIZE>&#x31;5</SIZE></ELEMENT>"
                     "<ELEMENT ID=\"b\" UID=\"18\"></ELEMENT>"));
  StoreIndex& store = Loaded();
  ASSERT_EQ(store.Index.ItemCount(), 2U);
  EXPECT_EQ(store.Index.Sequence[0]->GetNumber("UID"), 12U);
  EXPECT_EQ(store.Index.Sequence[0]->GetNumber("SIZE"), 15U);
}

// Each byte of such an ID takes six when it is written, and a tag has an end.
TEST_F(StreamReader, AnIDThatCantBeWrittenAgainIsLeftOut) {
  const std::string longest(165, '\x7f');
  for (const bool streams : {true, false}) {
    UseStreams(streams, true);
    WriteIndex("<BASEELEMENT LASTUID=\"x00000002\"><ELEMENT ID=\"" + longest +
               "\" UID=\"1\"></ELEMENT><ELEMENT ID=\"" + longest + "\x7f" +
               "\" UID=\"2\"></ELEMENT></BASEELEMENT>\r\n");
    StoreIndex& store = Loaded();
    EXPECT_FALSE(CheckIndex(folder_, kClassMail).empty());
    EXPECT_EQ(Items(store), longest + "= ");
    EXPECT_TRUE(store.Index.NeedsSave());
    ASSERT_TRUE(Save(&store));
    EXPECT_EQ(ItemsOnDisk(), longest + "= ");
  }
}

TEST_F(StreamReader, ManyTombstonesMakeItReadWholeAndBeRewritten) {
  Set("Index Garbage Collection Threshold", 2U);
  std::string elements;
  for (int i = 0; i < 3; ++i) elements += "<ELEMENT ID=\"-\" UID=\"-\"></ELEMENT>";
  WriteIndex(IndexOf("x00000002", elements + kTwo));
  for (const std::int32_t level : {kKeys, kAllProperties}) {
    StoreIndex& store = Loaded(level, level == kKeys ? "a" : "");
    EXPECT_EQ(store.Index.LoadState, kAllProperties);
    EXPECT_EQ(Items(store), "a=one b=two ");
    EXPECT_FALSE(store.Index.IsFiltered());
    EXPECT_TRUE(store.Index.FullRewrite);
  }
}

// Text of any length crosses the blocks that the file is read in.
TEST_F(StreamReader, TextsAreReadAcrossBlocks) {
  Set("Index Read Cache Size", 0U);
  std::string elements, items;
  for (std::uint32_t uid = 1; uid <= 40; ++uid) {
    const std::string subject(uid * 997 % 12'000 + 1, static_cast<char>('a' + uid % 26));
    elements += Element("m" + std::to_string(uid), uid, subject);
    items += "m" + std::to_string(uid) + "=" + subject + " ";
  }
  WriteIndex(IndexOf("x00000028", elements));
  EXPECT_EQ(ItemsOnDisk(), items);
}

TEST_F(StreamReader, OffsetsAndLengthsAreThoseOfTheElements) {
  WriteIndex(IndexOf("x00000002", kTwo));
  StoreIndex& store = Loaded(kKeys);
  const std::string text = IndexText();
  for (const auto* item : store.Index.Sequence) {
    const std::string element = text.substr(item->GetOffset(), item->GetLength());
    EXPECT_EQ(element.find("<ELEMENT ID=\"" + item->GetText("ID")), 0U);
    EXPECT_EQ(element.substr(element.size() - 10), "</ELEMENT>");
  }
}

TEST_F(StreamReader, AReaderWaitsForAWriter) {
  WriteIndex(IndexOf("x00000002", kTwo));
  auto held = platform::File::Open(index_, platform::Access::kReadWrite, platform::kShareNone,
                                   platform::Disposition::kOpenExisting);
  StoreIndex store(&files_);
  EXPECT_FALSE(Load(&store, kAllProperties, {}, 0, false, true));
  EXPECT_EQ(Clock().Slept(), 20 * 2000);
  ASSERT_FALSE(heard_.all.empty());
  EXPECT_PRED2(Holds, heard_.all[0].text, "Failed to open index ");
  EXPECT_TRUE(held.IsOpen());
}

TEST_F(StreamReader, ContactsAndGroupsComeTogether) {
  WriteIndex(IndexOf("x00000002", kTwo));
  WriteBytes(folder_ + "/_groups.xml", IndexOf("x00000009", Element("g", 2, "group")));
  StoreIndex store(&files_);
  IndexLoad load;
  load.store = &store;
  load.path = folder_;
  load.messageClass = kClassContactsAndGroups;
  load.useChangeFlag = false;
  EXPECT_TRUE(store.Index.Load(load));
  EXPECT_EQ(Items(store), "a=one b=two g=group ");
  EXPECT_EQ(store.Index.LastUID, 9U);
  load.skipIfLoaded = true;
  WriteBytes(folder_ + "/_groups.xml", IndexOf("9", Element("h", 3, "old form")));
  EXPECT_TRUE(store.Index.Load(load));
  EXPECT_EQ(Items(store), "a=one b=two g=group ") << "is loaded already";
  load.skipIfLoaded = false;
  EXPECT_TRUE(store.Index.Load(load));
  EXPECT_EQ(Items(store), "a=one b=two h=old form ");
  EXPECT_FALSE(store.Index.Save(folder_, kClassContactsAndGroups, false) &&
               store.Index.LastSaveWorked());
  EXPECT_EQ(IndexText(), IndexOf("x00000002", kTwo));
  ASSERT_TRUE(platform::DeleteFile(folder_ + "/_groups.xml"));
  load.level = kKeys;
  EXPECT_TRUE(store.Index.Load(load));
  EXPECT_EQ(store.Index.LoadState, kKeys) << "no deeper than the contacts";
}

}  // namespace
}  // namespace corvane::test
