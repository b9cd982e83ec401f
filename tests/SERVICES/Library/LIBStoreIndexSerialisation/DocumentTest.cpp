#include <gtest/gtest.h>

#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexBackup.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexFileNames.h"
#include "platform/Error.h"
#include "platform/FaultInjection.h"
#include "tests/SERVICES/Library/LIBStoreIndexSerialisation/IndexFixture.h"

namespace corvane::test {
namespace {

class Document : public IndexFixture {
 protected:
  Document() { UseStreams(false, false); }
};

TEST_F(Document, TheOldFormIsInOrderOfNamesAndDecimal) {
  StoreIndex& store = Loaded();
  ASSERT_TRUE(Add(&store, "b", "x\x01\xC3\xBC<"));
  ASSERT_TRUE(Add(&store, "a", ""));
  ASSERT_TRUE(Save(&store));
  const std::string text = IndexText();
  EXPECT_EQ(text.find("<BASEELEMENT LASTUID=\"2\"><ELEMENT ID=\"a\" UID=\"2\""), 0U) << text;
  EXPECT_NE(text.find("<SUBJECT>x   &lt;</SUBJECT>"), std::string::npos) << text;
  EXPECT_EQ(text.substr(text.size() - 16), "</BASEELEMENT>\r\n");
  EXPECT_EQ(ItemsOnDisk(), "b=x   < a= ");
  EXPECT_EQ(store.Index.RemoveItems("b"), 1U);
  ASSERT_TRUE(Save(&store));
  EXPECT_FALSE(store.Index.NeedsSave()) << "what was removed doesn't wait any more";
  EXPECT_EQ(ItemsOnDisk(), "a= ");
}

TEST_F(Document, TheNewFormIsReadByBoth) {
  Set("MSXML Index Serialisation Produces Old Format", 0U);
  StoreIndex& empty = Loaded();
  empty.Index.MarkFullRewrite();
  ASSERT_TRUE(Save(&empty));
  EXPECT_EQ(IndexText(), "<BASEELEMENT LASTUID=\"x00000000\"/>\r\n");
  StoreIndex& store = Loaded();
  for (const char* id : {"b", "a&\"q"}) ASSERT_TRUE(Add(&store, id));
  ASSERT_TRUE(Save(&store));
  EXPECT_EQ(ItemsOnDisk(), "b=s a&\"q=s ");
  UseStreams(true, false);
  EXPECT_EQ(ItemsOnDisk(), "b=s a&\"q=s ");
}

TEST_F(Document, ReadsWhatAStreamWriterWrote) {
  UseStreams(false, true);
  StoreIndex& store = Loaded();
  ASSERT_TRUE(Add(&store, "a<b", "smile \xF0\x9F\x98\x80 & more"));
  ASSERT_TRUE(Save(&store));
  EXPECT_EQ(ItemsOnDisk(), "a<b=smile \xF0\x9F\x98\x80 & more ");
}

TEST_F(Document, DropsTombstonesAndItemsWithoutFiles) {
  MakeFile("a");
  WriteIndex(IndexOf("x00000009", Element("-", 1, "gone") + Element("b", 2, "no file") +
                                      "<ELEMENT ID=\"a\" UID=\"\"><SUBJECT>here</SUBJECT>"
                                      "</ELEMENT><ELEMENT ID=\"\" UID=\"4\"/>"));
  StoreIndex& store = Loaded(kHeaderOnly, "zz", 1);
  EXPECT_EQ(Items(store), "a=here ");
  EXPECT_EQ(store.Index.LoadState, kAllProperties);
  EXPECT_EQ(store.Index.ByID.Find("a")->GetNumber("IDX"), 1U);
  EXPECT_EQ(store.Index.ByID.Find("a")->GetNumber("UID"), 10U) << "an empty UID is none";
  EXPECT_TRUE(store.Index.FullRewrite) << "what was left out goes from the file too";
}

TEST_F(Document, SaysWhereAFileIsBroken) {
  StoreIndex store(&files_);
  WriteIndex(IndexOf("1", Element("a", 0x80000000, "no UID is so large")));
  EXPECT_FALSE(Load(&store, kAllProperties));
  WriteIndex("<BASEELEMENT LASTUID=\"1\">\n<ELEMENT ID=\"a\">");
  ::testing::internal::CaptureStdout();
  EXPECT_FALSE(Load(&store, kAllProperties));
  const std::string console = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(console.find("Error:\nCode = 0x"), 0U);
  EXPECT_NE(console.find("Source = Line : 2; Char : "), std::string::npos);
}

class Recovery : public IndexFixture {
 protected:
  Recovery() { Set("Backup Index", 1U); }
  [[nodiscard]] bool Backup(const char* suffix) const {
    return platform::FileExists(index_ + suffix);
  }
};

TEST_F(Recovery, AGoodFullLoadKeepsABackupFresh) {
  WriteIndex(IndexOf("x00000001", Element("a", 1, "one")));
  Loaded();
  EXPECT_FALSE(Backup(".bak")) << "a quiet load takes none";
  Loaded(kAllProperties, {}, 0, false, true);
  EXPECT_TRUE(Backup(".bak"));
  const std::string old = ReadBytes(index_ + ".bak");
  WriteIndex(IndexOf("x00000002", Element("a", 1, "two")));
  Clock().Advance(370LL * 60 * 1000);
  Loaded(kAllProperties, {}, 0, false, true);
  EXPECT_EQ(ReadBytes(index_ + ".bak"), old);
  Clock().Advance(61LL * 1000);
  Loaded(kAllProperties, {}, 0, false, true);
  EXPECT_EQ(ReadBytes(index_ + ".bak"), IndexText());
}

TEST_F(Recovery, WithoutABackupTheFileIsPutAside) {
  WriteIndex("torn");
  StoreIndex store(&files_);
  EXPECT_FALSE(Load(&store, kAllProperties, {}, 0, false, true));
  EXPECT_PRED2(Holds, heard_.all.back().text,
               ". Unable to find recovery index. Recovering Index (there may be "
               "some flag loss)\n");
  EXPECT_FALSE(platform::FileExists(index_));
  EXPECT_EQ(ReadBytes(index_ + ".bad"), "torn");
}

// On a full disk nothing is deleted that there is no copy of.
TEST_F(Recovery, WhatCantBeCopiedIsKept) {
  WriteIndex("torn");
  WriteBytes(index_ + ".bak", "backup");
  platform::ArmFault({.error = platform::kErrorDiskFull,
                      .calls = platform::FileCallBit(platform::FileCall::kCopy),
                      .lasting = true});
  EXPECT_FALSE(RestoreIndexBackup(folder_));
  EXPECT_EQ(IndexText(), "torn");
  EXPECT_TRUE(DiscardIndex(folder_)) << "renamed";
  platform::DisarmFault();
  EXPECT_EQ(ReadBytes(index_ + ".bad"), "torn");
  EXPECT_EQ(ReadBytes(index_ + ".bak"), "backup");
}

TEST_F(Recovery, GroupsNeverTouchTheBackupOfContacts) {
  for (const char* name : {"/_index.xml", "/_index.xml.bak", "/_groups.xml"}) {
    WriteBytes(folder_ + name, std::string("torn") + name);
  }
  StoreIndex store(&files_);
  EXPECT_TRUE(store.Index.Load({.store = &store,
                                .path = folder_,
                                .messageClass = kClassGroups,
                                .keyFilter = {},
                                .forceRescan = true,
                                .recover = true}));
  EXPECT_EQ(IndexText(), "torn/_index.xml");
  EXPECT_FALSE(Backup(".bad"));
  EXPECT_EQ(ReadBytes(folder_ + "/_groups.xml"), IndexOf("x00000000", ""));
}

TEST_F(Recovery, AFolderWithoutAnIndexReadsAsEmptyAndWritesNothing) {
  StoreIndex& store = Loaded();
  EXPECT_EQ(store.Index.LoadState, kAllProperties);
  EXPECT_FALSE(platform::FileExists(index_));
  EXPECT_EQ(Clock().Slept(), 9 * 200) << "it may be changing hands";
}

}  // namespace
}  // namespace corvane::test
