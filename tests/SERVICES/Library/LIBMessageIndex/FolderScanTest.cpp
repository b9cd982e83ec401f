#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>

#include "SERVICES/Library/LIBMessageIndex/FolderIndex.h"
#include "SERVICES/Library/LIBMessageIndex/ItemFiller.h"
#include "SERVICES/Library/LIBStoreIndexSerialisation/IndexInspection.h"
#include "tests/SERVICES/Library/LIBMessageIndex/MailFolder.h"

namespace corvane::test {
namespace {

class Scan : public MailFolder {
 protected:
  std::int32_t Run(bool clearRecent = false, platform::ClientSocket* socket = nullptr) {
    StoreIndex store(MessageIndexFiles());
    return ScanFoldersOrdered(&store.Index, folder_, clearRecent, socket, 1, true);
  }
  [[nodiscard]] std::string IndexText() const { return ReadBytes(PathOf("_index.xml")); }
};

TEST_F(Scan, ANewFolderGetsItsItemsInTheOrderOfNames) {
  for (const char* name : {"b.MAI", "C.MAI", "a.MAI", "_x.MAI", ".x.MAI", "note.txt"}) {
    Deliver(name, name);
  }
  Deliver(std::string(60, 'n') + ".MAI", "a name of 64 bytes");
  ASSERT_TRUE(platform::CreateDirectory(PathOf("directory.MAI")));
  WriteBytes(PathOf("_CHANGE.DTY"), "x");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(CheckIndex(folder_, kClassMail).empty());
  EXPECT_FALSE(IsThere("_CHANGE.DTY"));
  EXPECT_FALSE(IsThere("_index.blk"));
  EXPECT_EQ(IndexText().substr(0, 33), "<BASEELEMENT LASTUID=\"x00000003\">");
  EXPECT_EQ(ReadBytes(PathOf("_DIRSIZE.TMP")), "0");
  EXPECT_EQ(ReadBytes(PathOf("_FOLDER.DAT")).size(), 52U);
  EXPECT_EQ(Items(), "a.MAI:1=a.MAI b.MAI:2=b.MAI C.MAI:3=C.MAI ");
  EXPECT_EQ(Items("FLAGSTATUS"), "a.MAI:1=\\RECENT b.MAI:2=\\RECENT C.MAI:3=\\RECENT ");
}

TEST_F(Scan, FilesThatGoAndComeChangeNoOtherUid) {
  for (const char* name : {"a.MAI", "b.MAI", "c.MAI"}) Deliver(name, name);
  ASSERT_EQ(Run(), 1);
  ASSERT_EQ(SetInFolderIndex(folder_, "b.MAI", "FLAGSTATUS", "\\SEEN $Work"), IndexChange::kDone);
  ASSERT_TRUE(platform::DeleteFile(PathOf("c.MAI")));
  Deliver("aa.MAI", "later");
  ASSERT_EQ(Run(true), 1);
  EXPECT_EQ(Items(), "a.MAI:1=a.MAI b.MAI:2=b.MAI aa.MAI:4=later ");
  EXPECT_EQ(Items("FLAGSTATUS"), "a.MAI:1= b.MAI:2=\\SEEN $Work aa.MAI:4=\\RECENT ");
}

TEST_F(Scan, ANameOfAnyBytesKeepsItsUid) {
  const std::string name = "a\x01\x7F,&b.MAI";
  Deliver(name, "x");
  ASSERT_EQ(Run(), 1);
  ASSERT_EQ(SetInFolderIndex(folder_, name, "FLAGSTATUS", "\\SEEN"), IndexChange::kDone);
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Items("FLAGSTATUS"), name + ":1=\\SEEN ");
}

TEST_F(Scan, AChangedFileIsReadAgainAndKeepsItsFlags) {
  Deliver("a.MAI", "before");
  ASSERT_EQ(Run(), 1);
  ASSERT_EQ(SetInFolderIndex(folder_, "a.MAI", "FLAGSTATUS", "\\SEEN"), IndexChange::kDone);
  Deliver("a.MAI", "after a change", "Date: Tue, 03 Jan 2023 08:05:07 +0000\r\n");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Items(), "a.MAI:1=after a change ");
  EXPECT_EQ(Items("FLAGSTATUS"), "a.MAI:1=\\SEEN ");
  EXPECT_EQ(Items("MESSAGEDATE"), "a.MAI:1=2023-01-03T08:05:07 ");
}

// What would be written just as it is isn't written.
TEST_F(Scan, AnUnchangedFolderLeavesItsIndexAlone) {
  Deliver("a.MAI", "x");
  ASSERT_EQ(Run(), 1);
  ASSERT_TRUE(platform::SetLastWriteTime(PathOf("_index.xml"), 1'600'000'000));
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(platform::GetFileInfo(PathOf("_index.xml"))->lastWriteTime, 1'600'000'000);
}

TEST_F(Scan, FilesBeyondTheLimitAreNotSeen) {
  Set("Maximum Index Rows", 3U);
  for (const char* name : {"a.MAI", "b.MAI", "c.MAI", "d.MAI"}) Deliver(name, "x");
  ASSERT_EQ(Run(), 1);
  StoreIndex store(MessageIndexFiles());
  ASSERT_TRUE(Open(&store));
  EXPECT_EQ(store.Index.ItemCount(), 2U);
}

TEST_F(Scan, BrandedMessagesBringTheirFlagsAndGetAFreshUid) {
  Set("UID Branding Enabled", 1U);
  Set("New Indexing", 0U);
  Deliver("a.MAI", "x", "X-UID: 12345.7\r\n");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Items(), "a.MAI:1=x ");
  EXPECT_EQ(ReadBytes(PathOf("a.MAI")).find("X-UID"), std::string::npos);
  Set("New Indexing", 1U);
  Deliver("b.MAI", "y", "X-CVTempFlags: \\SEEN \\FLAGGED\r\n");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Items("FLAGSTATUS"), "a.MAI:1=\\RECENT b.MAI:2=\\SEEN \\FLAGGED \\RECENT ");
  ASSERT_TRUE(platform::SetLastWriteTime(PathOf("_index.xml"), 1'600'000'000));
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(platform::GetFileInfo(PathOf("_index.xml"))->lastWriteTime, 1'600'000'000)
      << "a file whose headers were taken out isn't a changed one";
}

TEST_F(Scan, AClientThatHasGoneEndsTheWalk) {
  Set("UID Branding Enabled", 1U);
  for (int i = 0; i < 120; ++i) {
    Deliver("m" + std::to_string(i) + ".MAI", "x", "X-CVTempFlags: \\SEEN\r\n");
  }
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  platform::ClientSocket socket(ends[0]);
  ::close(ends[1]);
  EXPECT_EQ(Run(false, &socket), 1);
  EXPECT_FALSE(IsThere("_index.xml"));
  EXPECT_NE(ReadBytes(PathOf("m0.MAI")).find("X-CVTempFlags"), std::string::npos)
      << "the only place that has the flags";
  ::close(ends[0]);
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  platform::ClientSocket waiting(ends[0]);
  EXPECT_EQ(Run(false, &waiting), 1) << "one that waits has nothing to say";
  ::close(ends[0]);
  ::close(ends[1]);
}

// Who has the file open keeps the scan from writing; the folder reads whole all the same.
TEST_F(Scan, WhatCouldNotBeWrittenStaysMarked) {
  Deliver("a.MAI", "x");
  ASSERT_EQ(Run(), 1);
  Deliver("b.MAI", "y");
  WriteBytes(PathOf("_CHANGE.DTY"), "x");
  auto held = platform::File::Open(PathOf("_index.xml"), platform::Access::kRead,
                                   platform::kShareAll, platform::Disposition::kOpenExisting);
  EXPECT_EQ(Items(), "a.MAI:1=x b.MAI:2=y ");
  ASSERT_TRUE(platform::SetLastWriteTime(PathOf("_DIRSIZE.TMP"), 4'000'000'000));
  EXPECT_EQ(InsertIntoFolderIndex(folder_, "b.MAI"), 0);
  EXPECT_TRUE(IsThere("_CHANGE.DTY"));
  EXPECT_EQ(IndexText().find("b.MAI"), std::string::npos);
  held.Close();
  EXPECT_EQ(Items(), "a.MAI:1=x b.MAI:2=y ");
  EXPECT_FALSE(IsThere("_CHANGE.DTY"));
  EXPECT_NE(IndexText().find("b.MAI"), std::string::npos);
}

TEST_F(Scan, AnIndexThatIsTornIsPutAsideAndBuiltAnew) {
  Deliver("a.MAI", "x");
  for (const std::uint32_t backups : {0U, 1U}) {
    Set("Backup Index", backups);
    if (backups != 0) WriteBytes(PathOf("_index.xml.bak"), "torn too");
    WriteBytes(PathOf("_index.xml"), "torn");
    WriteBytes(PathOf("_CHANGE.DTY"), "x");
    EXPECT_EQ(Items(), "a.MAI:1=x ");
    EXPECT_EQ(ReadBytes(PathOf("_index.xml.bad")), "torn");
    EXPECT_FALSE(IsThere("_CHANGE.DTY"));
  }
  EXPECT_NE(ReadBytes(PathOf("_index.xml.bak")), "torn too");
}

TEST_F(Scan, ABackupThatCantBePutInPlaceHoldsNothingUp) {
  Set("Backup Index", 1U);
  Deliver("a.MAI", "x");
  test::WriteBytes(PathOf("_index.xml.bak"), "somebody's");
  test::WriteBytes(PathOf("_index.xml"), "torn");
  test::WriteBytes(PathOf("_CHANGE.DTY"), "x");
  const auto held =
      platform::File::Open(PathOf("_index.xml.bak"), platform::Access::kRead, platform::kShareNone,
                           platform::Disposition::kOpenExisting);
  EXPECT_EQ(Items(), "a.MAI:1=x ");
  EXPECT_EQ(test::ReadBytes(PathOf("_index.xml.bad")), "torn");
}

// Whoever holds the file keeps it from being read, though not from being deleted; its flags are
// there all the same.
TEST_F(Scan, AnIndexThatCantBeReadNowStaysAsItIs) {
  for (const bool streams : {true, false}) {
    UseStreams(streams, streams);
    Deliver("a.MAI", "x");
    ASSERT_EQ(Run(), 1);
    ASSERT_EQ(SetInFolderIndex(folder_, "a.MAI", "FLAGSTATUS", "\\SEEN"), IndexChange::kDone);
    Deliver("b.MAI", "y");
    WriteBytes(PathOf("_CHANGE.DTY"), "x");
    const std::string before = IndexText();
    auto held = platform::File::Open(PathOf("_index.xml"), platform::Access::kReadWrite,
                                     {.remove = true}, platform::Disposition::kOpenExisting);
    EXPECT_EQ(Items(), "unreadable");
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(InsertIntoFolderIndex(folder_, "b.MAI"), 0);
    held.Close();
    EXPECT_TRUE(IsThere("_CHANGE.DTY"));
    EXPECT_EQ(IndexText(), before);
    EXPECT_FALSE(IsThere("_index.xml.bad"));
    EXPECT_EQ(Items("FLAGSTATUS").find("a.MAI:1=\\SEEN b.MAI:"), 0U);
    ASSERT_TRUE(platform::DeleteFile(PathOf("b.MAI")));
  }
  StoreIndex store(MessageIndexFiles());
  FolderListing nothing(PathOf("none"));
  EXPECT_EQ(ScanLoadedFolder(&store.Index, PathOf("none"), &nothing), kNotLoaded)
      << "and so does a listing";
}

TEST_F(Scan, OtherClassesOfMailAreWrittenAsTheirOwn) {
  Deliver("a.MAI", "x", "Keywords: \xF0\x9F\x98\x80\r\n");
  const std::pair<std::int32_t, const char*> kClasses[] = {{kClassMail, "\xF0\x9F\x98\x80"},
                                                           {kClassMail23, "&#xd83d;&#xde00;"}};
  for (const auto& [messageClass, categories] : kClasses) {
    StoreIndex store(MessageIndexFiles());
    EXPECT_TRUE(Open(&store, true, false, messageClass));
    EXPECT_NE(IndexText().find("<CATEGORIES>" + std::string(categories) + "</"), std::string::npos)
        << IndexText();
  }
}

TEST_F(Scan, ABackupBringsTheFlagsBack) {
  Set("Backup Index", 1U);
  for (const char* name : {"a.MAI", "b.MAI"}) Deliver(name, name);
  ASSERT_EQ(Run(), 1);
  ASSERT_EQ(SetInFolderIndex(folder_, "a.MAI", "FLAGSTATUS", "\\SEEN"), IndexChange::kDone);
  Clock().Advance(371LL * 60 * 1000);
  ASSERT_NE(Items(), "unreadable");  // keeps the backup
  ASSERT_TRUE(IsThere("_index.xml.bak"));
  ASSERT_TRUE(platform::DeleteFile(PathOf("b.MAI")));
  Deliver("c.MAI", "c.MAI");
  WriteBytes(PathOf("_index.xml"), IndexText().substr(0, 100));
  EXPECT_EQ(Items("FLAGSTATUS"), "a.MAI:1=\\SEEN c.MAI:3=\\RECENT ");
  WriteBytes(PathOf("_index.xml"), "torn");
  StoreIndex quiet(MessageIndexFiles());
  EXPECT_TRUE(Open(&quiet, true, false));
  EXPECT_EQ(Items("FLAGSTATUS"), "a.MAI:1=\\RECENT c.MAI:2=\\RECENT ")
      << "a quiet load restores none";
}

// The folder is scanned as soon as the backup is in place, and once more behind it.
TEST_F(Scan, AScanBehindARestoredBackupLooksAtItsFilesAnew) {
  Set("UID Branding Enabled", 1U);
  Set("Backup Index", 1U);
  Deliver("a.MAI", "a");
  ASSERT_EQ(Run(), 1);
  ASSERT_EQ(Items(), "a.MAI:1=a ");
  ASSERT_TRUE(IsThere("_index.xml.bak"));
  WriteBytes(PathOf("_index.xml"), "torn");
  Deliver("b.MAI", "b", "X-CVTempFlags: \\SEEN\r\nX-UID: 1.1\r\n");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Items("FLAGSTATUS"), "a.MAI:1=\\RECENT b.MAI:2=\\SEEN \\RECENT ");
  const std::string size = std::to_string(ReadBytes(PathOf("b.MAI")).size());
  EXPECT_NE(Items("SIZE").find("b.MAI:2=" + size), std::string::npos) << Items("SIZE") << size;
}

TEST_F(Scan, TheRecentFlagGoesWithItsBlank) {
  const std::pair<const char*, const char*> kCases[] = {
      {"\\RECENT \\SEEN", "\\SEEN"}, {"\\SEEN \\RECENT", "\\SEEN "}, {"\\RECENT", ""}};
  for (const auto& [before, after] : kCases) {
    IndexItem item;
    item.Create();
    item.SetText("FLAGSTATUS", before);
    EXPECT_TRUE(RemoveRecentFlag(&item));
    EXPECT_EQ(item.GetText("FLAGSTATUS"), after);
    EXPECT_FALSE(RemoveRecentFlag(&item));
  }
}

// As after a crash, when the message is delivered again.
TEST_F(Scan, ASecondInsertionOfAnItemIsNone) {
  for (const char* name : {"a.MAI", "b.MAI", "a.MAI", "b.MAI"}) {
    Deliver(name, name);
    EXPECT_EQ(InsertIntoFolderIndex(folder_, name), 1);
  }
  EXPECT_EQ(Items(), "a.MAI:1=a.MAI b.MAI:2=b.MAI ");
  EXPECT_TRUE(CheckIndex(folder_, kClassMail).empty());
  // What the scan of a marked folder has taken in and written isn't written again.
  Deliver("c.MAI", "c.MAI");
  WriteBytes(PathOf("_CHANGE.DTY"), "x");
  ASSERT_TRUE(platform::SetLastWriteTime(PathOf("_DIRSIZE.TMP"), 1'600'000'000));
  std::filesystem::create_hard_link(PathOf("_index.xml"), PathOf("index"));
  EXPECT_EQ(InsertIntoFolderIndex(folder_, "c.MAI"), 1);
  EXPECT_NE(IndexText().find("c.MAI"), std::string::npos);
  EXPECT_TRUE(std::filesystem::equivalent(PathOf("_index.xml"), PathOf("index")));
}

// As a power failure may leave it.
TEST_F(Scan, AnInsertionBehindALastUidThatLagsTakesAFreshUid) {
  for (const char* name : {"a.MAI", "b.MAI", "c.MAI"}) {
    Deliver(name, name);
    ASSERT_EQ(InsertIntoFolderIndex(folder_, name), 1);
  }
  ASSERT_TRUE(platform::SetLastWriteTime(PathOf("_DIRSIZE.TMP"), 1'600'000'000));
  std::string text = IndexText();
  text.replace(text.find("x00000003"), 9, "x00000001");
  WriteBytes(PathOf("_index.xml"), text);
  Deliver("d.MAI", "d.MAI");
  EXPECT_EQ(InsertIntoFolderIndex(folder_, "d.MAI"), 1);
  EXPECT_EQ(Items(), "a.MAI:1=a.MAI b.MAI:2=b.MAI c.MAI:3=c.MAI d.MAI:4=d.MAI ");
  EXPECT_TRUE(CheckIndex(folder_, kClassMail).empty());
}

TEST_F(Scan, AnInsertionThatFailsMarksTheFolder) {
  Deliver("a.MAI", "x");
  EXPECT_EQ(InsertIntoFolderIndex(folder_, "a.MAI"), 1) << "a folder without an index is scanned";
  Deliver("b.MAI", "y");
  WriteBytes(PathOf("_index.xml"), IndexText().substr(0, 60));
  EXPECT_EQ(InsertIntoFolderIndex(folder_, "b.MAI"), 0);
  EXPECT_TRUE(IsThere("_CHANGE.DTY"));
  EXPECT_EQ(Items(), "a.MAI:1=x b.MAI:2=y ");
  EXPECT_EQ(InsertIntoFolderIndex(folder_, "../a.MAI"), 0);
  EXPECT_EQ(InsertIntoFolderIndex(folder_, "none.MAI"), 0);
  Deliver(".x.MAI", "hidden");
  EXPECT_EQ(InsertIntoFolderIndex(folder_, ".x.MAI"), 0);
}

}  // namespace
}  // namespace corvane::test
