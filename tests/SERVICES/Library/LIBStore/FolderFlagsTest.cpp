// The flag files of a folder, and the notices that leave them.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "SERVICES/Library/LIBStore/FolderFlags.h"
#include "SERVICES/Library/LIBStore/MarkFolderChanged.h"
#include "platform/FileSystem.h"
#include "platform/WholeFile.h"
#include "tests/support/AsNobody.h"
#include "tests/support/SettingsFixture.h"
#include "tests/support/SmallDisk.h"

namespace corvane::test {
namespace {

constexpr const char* kChangedText =
    "This file is a flag file that denotes that this folder has been changed";
constexpr const char* kCachedText = "Caches have been cached, into shared map for later write.";
constexpr const char* kConnector = "CONNECTORS\\SF";

class FolderFlagsTest : public SettingsFixture {
 protected:
  FolderFlagsTest() {
    Set("Mail Root", Directory().Path());
    fs::create_directories(Folder());
  }
  [[nodiscard]] std::string Folder(const char* name = "Inbox") const {
    return Directory() / "acme/MAILROOT/anna/" + name;
  }
  [[nodiscard]] std::string InFolder(const std::string& name) const {
    return Folder() + "/" + name;
  }
  [[nodiscard]] std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(Folder()))
      names.insert(entry.path().filename());
    return names;
  }
  static std::int32_t Mark(const char* folder = "Inbox") {
    return MarkFolderChanged("acme", "anna", folder, kActionAdd, "1.MAI", true, true);
  }
};

TEST_F(FolderFlagsTest, EachFlagHasItsNameAndText) {
  const struct {
    FolderFlag flag;
    const char *name, *text;
  } rows[] = {
      {FolderFlag::kChanged, "_CHANGE.DTY", kChangedText},
      {FolderFlag::kTooBigForInsert, "_CHANGE.DTY", kCachedText},
      {FolderFlag::kCached, "_CACHE.DTY", kCachedText},
      {FolderFlag::kSubfolders, "_FOLDER.DTY", kChangedText},
      {FolderFlag::kNotify, "_NOTIFY.NFY", kChangedText},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_FALSE(IsFolderFlagSet(Folder(), row.flag));
    WriteFolderFlag(Folder(), row.flag);
    EXPECT_TRUE(IsFolderFlagSet(Folder(), row.flag));
    EXPECT_EQ(Names(), std::set<std::string>{row.name});
    EXPECT_EQ(ReadBytes(InFolder(row.name)), row.text);
    fs::remove(InFolder(row.name));
  }
}

TEST_F(FolderFlagsTest, BothSpellingsAreOneFile) {
  WriteFolderFlag(Folder(), FolderFlag::kChanged);
  EXPECT_TRUE(platform::FileExists(InFolder("_change.dty")));
  EXPECT_TRUE(platform::DeleteFile(InFolder("_change.dty")));
  EXPECT_FALSE(IsFolderFlagSet(Folder(), FolderFlag::kChanged));
  ASSERT_TRUE(platform::WriteWholeFile(InFolder("_change.dty"), "by another writer"));
  WriteFolderFlag(Folder(), FolderFlag::kChanged);
  EXPECT_EQ(Names(), std::set<std::string>{"_CHANGE.DTY"});
  ASSERT_TRUE(platform::WriteWholeFile(InFolder("_INDEX.XML"), ""));
  EXPECT_TRUE(platform::FileExists(InFolder("_index.xml")));
  EXPECT_EQ(Names(), (std::set<std::string>{"_CHANGE.DTY", "_index.xml"}));
}

TEST_F(FolderFlagsTest, AFlagOfAnotherSystemIsSeenAndAnswered) {
  Set("Index Files Enabled", 1U, kConnector);
  Set("Store Event Notification Mode", 2U);
  WriteBytes(InFolder("_change.dty"), "");
  WriteFolderFlag(Folder(), FolderFlag::kChanged);
  EXPECT_EQ(Names(), std::set<std::string>{"_change.dty"});
  EXPECT_TRUE(IsFolderFlagSet(Folder(), FolderFlag::kChanged));
  EXPECT_EQ(Mark(), 1);
  EXPECT_TRUE(fs::exists(InFolder("_index.xml")));
  EXPECT_FALSE(fs::exists(InFolder("_change.dty")));
  WriteBytes(InFolder("_change.dty"), "");
  EXPECT_TRUE(TestFolderFlag(Folder(), FolderFlag::kChanged, true));
  fs::rename(InFolder("_index.xml"), InFolder("_INDEX.XML"));
  EXPECT_FALSE(TestFolderFlag(Folder(), FolderFlag::kChanged, true));
}

TEST_F(FolderFlagsTest, AReaderLooksAgainForAFlagOrWithoutAnIndex) {
  const struct {
    const char* name;
    bool indexFiles;
    std::set<std::string> there;
    bool changed;  // the test of _CHANGE.DTY
    bool any;      // the test of _*.DTY
  } cases[] = {
      {"current", true, {"_index.xml"}, false, false},
      {"stale", true, {"_index.xml", "_CHANGE.DTY"}, true, true},
      {"new subfolder", true, {"_index.xml", "_FOLDER.DTY"}, false, true},
      {"another kind of flag", true, {"_index.xml", "_OTHER.dty"}, false, true},
      {"not a flag", true, {"_index.xml", "CHANGE.DTY", "_NOTIFY.NFY"}, false, false},
      {"no index", true, {}, true, true},
      {"indexes off", false, {"_index.xml"}, true, true},
  };
  for (const auto& row : cases) {
    for (const bool remove : {false, true}) {
      SCOPED_TRACE(row.name);
      Set("Index Files Enabled", row.indexFiles ? 1U : 0U, kConnector);
      for (const std::string& name : row.there) WriteBytes(InFolder(name), "");
      EXPECT_EQ(TestFolderFlag(Folder(), FolderFlag::kChanged, remove), row.changed);
      EXPECT_EQ(Names().count("_CHANGE.DTY"), remove ? 0U : row.there.count("_CHANGE.DTY"));
      for (const std::string& name : row.there) WriteBytes(InFolder(name), "");
      EXPECT_EQ(TestAnyFolderFlag(Folder(), remove), row.any);
      std::set<std::string> left = row.there;
      if (remove) {
        for (const char* flag : {"_CHANGE.DTY", "_FOLDER.DTY", "_OTHER.dty"}) left.erase(flag);
      }
      EXPECT_EQ(Names(), left);
      for (const std::string& name : Names()) fs::remove(InFolder(name));
    }
  }
}

TEST_F(FolderFlagsTest, NotificationFlagsStayASecondEach) {
  FlagFolderForNotification(Folder(), "Inbox");
  EXPECT_EQ(ReadBytes(InFolder("_NOTIFY.NFY")), kChangedText);
  WriteBytes(InFolder("_other.nfy"), "");
  ClearNotificationFlags(Folder());
  EXPECT_EQ(Clock().Slept(), 2000);
  EXPECT_TRUE(Names().empty());
}

TEST_F(FolderFlagsTest, TheModeDecidesWhatANoticeLeaves) {
  const struct {
    const char* name;
    std::uint32_t mode, indexFiles;
    bool flagged;
  } cases[] = {
      {"flag", 0, 0, true},
      {"flag, with indexes on", 0, 1, true},
      {"an unknown mode", 1, 1, false},
      {"another unknown mode", 5, 1, false},
      {"reindex without indexes", 2, 0, false},
      {"reindex and cache without indexes", 3, 0, false},
      {"insertion without indexes", 4, 0, false},
      {"insertion, indexes at 2", 4, 2, false},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    Set("Store Event Notification Mode", row.mode);
    Set("Index Files Enabled", row.indexFiles, kConnector);
    testing::internal::CaptureStdout();
    EXPECT_EQ(Mark(), 1);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.find("::Folder Made Dirty to notify clients\n") != std::string::npos,
              row.flagged);
    EXPECT_EQ(Names(),
              row.flagged ? std::set<std::string>{"_CHANGE.DTY"} : std::set<std::string>{});
    fs::remove(InFolder("_CHANGE.DTY"));
  }
}

// Whoever failed: here there is no library to insert with.
TEST_F(FolderFlagsTest, AFailedInsertionMarksTheFolder) {
  Set("Index Files Enabled", 1U, kConnector);
  Set("Store Event Notification Mode", 4U);
  EXPECT_EQ(Mark(), 0);
  EXPECT_EQ(ReadBytes(InFolder("_CHANGE.DTY")), kChangedText);
}

TEST_F(FolderFlagsTest, ANoticeGoesToTheMailTreeWhateverTheFolder) {
  fs::create_directories(Folder("Public/x"));
  fs::create_directories(Directory() / "acme/PUBROOT/x");
  EXPECT_EQ(Mark("Public\\x"), 1);
  EXPECT_TRUE(fs::exists(Folder("Public/x/_CHANGE.DTY")));
  EXPECT_FALSE(fs::exists(Directory() / "acme/PUBROOT/x/_CHANGE.DTY"));
}

TEST_F(FolderFlagsTest, AFlagThatCannotBeWrittenIsPassedOver) {
  EXPECT_EQ(Mark("None"), 1);
  EXPECT_FALSE(fs::exists(Folder("None")));
  fs::permissions(Folder(), fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_read |
                                fs::perms::others_exec);
  fs::permissions(Directory().Path(), fs::perms::all);
  {
    const AsNobody nobody;
    EXPECT_EQ(Mark(), 1);
  }
  EXPECT_TRUE(Names().empty());
  fs::permissions(Folder(), fs::perms::owner_all);
}

TEST_F(FolderFlagsTest, AFullDiskStillTakesTheName) {
  const SmallDisk disk(64 * 1024, Folder());
  if (!disk.IsMounted()) GTEST_SKIP() << "no right to mount";
  disk.Fill();
  EXPECT_EQ(Mark(), 1);
  EXPECT_TRUE(fs::exists(InFolder("_CHANGE.DTY")));
}

}  // namespace
}  // namespace corvane::test
