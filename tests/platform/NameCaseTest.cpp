// Names in any case on a disk that tells cases apart, and what looking them up costs.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <thread>

#include "platform/FileSystem.h"
#include "platform/NameCache.h"
#include "platform/Path.h"
#include "platform/WholeFile.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/InDirectory.h"

namespace corvane::platform {
namespace {

using test::ErrorOf;
using test::TemporaryDirectory;
using test::WriteBytes;

void MakeDirectory(const std::string& path) { ASSERT_EQ(mkdir(path.c_str(), 0755), 0) << path; }

using NameCase = test::InDirectory;

TEST_F(NameCase, ExistingNamesAreFoundAndMessagesAreNot) {
  MakeDirectory(root_ / "acme");
  MakeDirectory(root_ / "acme/MAILROOT");
  MakeDirectory(root_ / "acme/MAILROOT/Anna");
  MakeDirectory(root_ / "acme/MAILROOT/Anna/Inbox");
  for (const char* name :
       {"Inbox/0A.MAI", "Inbox/_index.xml", "Inbox/_CHANGE.DTY", "Inbox/_GROUPS.XML",
        "Inbox/_folder.dty", "notes.Txt", "Two.txt", "tWo.txt", "_7.NEW", "_8.new"}) {
    WriteBytes(root_ / "acme/MAILROOT/Anna/" + name, "x");
  }
  // What is asked for and where it is found; empty: not there.
  const std::pair<std::string_view, std::string_view> cases[] = {
      {"ACME\\mailroot\\ANNA\\INBOX\\0A.MAI", "acme/MAILROOT/Anna/Inbox/0A.MAI"},
      {"acme\\MAILROOT\\Anna\\Inbox\\0a.mai", ""},
      {"ACME\\MAILROOT\\Anna\\Inbox\\0a.mai", ""},
      {"acme\\MAILROOT\\Anna\\Inbox\\_INDEX.XML", "acme/MAILROOT/Anna/Inbox/_index.xml"},
      {"acme\\mailroot\\anna\\inbox\\_change.dty", "acme/MAILROOT/Anna/Inbox/_CHANGE.DTY"},
      {"acme\\MAILROOT\\Anna\\Inbox\\_cache.dty", ""},
      {"acme\\MAILROOT\\Anna\\Inbox\\_groups.xml", "acme/MAILROOT/Anna/Inbox/_GROUPS.XML"},
      {"acme\\MAILROOT\\Anna\\Inbox\\_FOLDER.DTY", "acme/MAILROOT/Anna/Inbox/_folder.dty"},
      {"acme\\MAILROOT\\Anna\\Inbox\\_Folder.Dty", "acme/MAILROOT/Anna/Inbox/_folder.dty"},
      {"acme\\MAILROOT\\Anna\\_7.new", "acme/MAILROOT/Anna/_7.NEW"},
      {"acme\\MAILROOT\\Anna\\_8.NEW", "acme/MAILROOT/Anna/_8.new"},
      {"acme\\MAILROOT\\Anna\\NOTES.TXT", "acme/MAILROOT/Anna/notes.Txt"},
      {"acme\\MAILROOT\\Anna\\tWo.txt", "acme/MAILROOT/Anna/tWo.txt"},
      {"acme\\MAILROOT\\Anna\\TWO.TXT", "acme/MAILROOT/Anna/Two.txt"},
      {"acme\\MAILROOT\\Anna\\notes", ""},
      {"acme\\MAILROOT\\Bob\\notes.txt", ""},
  };
  for (const auto& [asked, found] : cases) {
    EXPECT_EQ(FileExists(root_ / asked), !found.empty()) << asked;
    if (found.empty()) continue;
    EXPECT_EQ(ResolvePath(root_ / asked), root_ / found);
  }
}

TEST_F(NameCase, MissingNamesTellWhatIsMissing) {
  MakeDirectory(root_ / "There");
  WriteBytes(root_ / "File", "x");
  const std::pair<std::string_view, std::int32_t> cases[] = {
      {"there\\0.MAI", kErrorFileNotFound},      {"There\\x", kErrorFileNotFound},
      {"There\\_index.xml", kErrorFileNotFound}, {"gone\\0.MAI", kErrorPathNotFound},
      {"gone\\x\\y", kErrorPathNotFound},        {"file\\x", kErrorPathNotFound},
  };
  for (const auto& [path, error] : cases) {
    const File file =
        File::Open(root_ / path, Access::kRead, kShareAll, Disposition::kOpenExisting);
    EXPECT_EQ(ErrorOf(file), error) << path;
    EXPECT_EQ(ErrorOf(DeleteFile(root_ / path)), error) << path;
  }
}

TEST_F(NameCase, NewNamesMeetTheOldOnes) {
  MakeDirectory(root_ / "Junk E-mail");
  WriteBytes(root_ / "Notes.txt", "old");
  WriteBytes(root_ / "_cache.dty", "old");

  EXPECT_EQ(ErrorOf(CreateDirectory(root_ / "junk e-mail")), kErrorAlreadyExists);
  EXPECT_EQ(
      ErrorOf(File::Open(root_ / "NOTES.TXT", Access::kWrite, kShareNone, Disposition::kCreateNew)),
      kErrorFileExists);
  EXPECT_TRUE(WriteWholeFile(root_ / "notes.TXT", "new"));
  EXPECT_EQ(test::ReadBytes(root_ / "Notes.txt"), "new");
  // A name of the table is made as the table spells it, unless it is there in either case.
  EXPECT_TRUE(WriteWholeFile(root_ / "_change.dty", "flag"));
  EXPECT_EQ(test::ReadBytes(root_ / "_CHANGE.DTY"), "flag");
  EXPECT_TRUE(WriteWholeFile(root_ / "_CACHE.DTY", "new"));
  EXPECT_EQ(test::ReadBytes(root_ / "_cache.dty"), "new");
  EXPECT_TRUE(CreateDirectories(root_ / "po\\RULES"));
  EXPECT_TRUE(CreateDirectories(root_ / "PO\\Rules\\Deep"));
  EXPECT_TRUE(WriteWholeFile(root_ / "Po\\rules\\deep\\FILTER.TAB", "row"));
  EXPECT_EQ(test::ReadBytes(root_ / "po/RULES/Deep/FILTER.TAB"), "row");
  // Messages of different case are different files.
  EXPECT_TRUE(WriteWholeFile(root_ / "A.MAI", "1", false));
  EXPECT_TRUE(WriteWholeFile(root_ / "a.MAI", "2", false));
}

TEST_F(NameCase, ANameThatMovesIsFoundAgain) {
  WriteBytes(root_ / "First", "1");
  EXPECT_EQ(ReadWholeFile(root_ / "FIRST"), "1");
  std::rename((root_ / "First").c_str(), (root_ / "fIRST").c_str());
  EXPECT_EQ(ReadWholeFile(root_ / "FIRST"), "1");
  unlink((root_ / "fIRST").c_str());
  EXPECT_FALSE(ReadWholeFile(root_ / "FIRST"));
  WriteBytes(root_ / "firST", "2");
  EXPECT_EQ(ReadWholeFile(root_ / "FIRST"), "2");
  EXPECT_TRUE(MoveFile(root_ / "first", root_ / "FIRST"));
  EXPECT_EQ(test::ReadBytes(root_ / "FIRST"), "2");
  EXPECT_FALSE(std::filesystem::exists(root_ / "firST"));
}

// A listing taken right after a change must not hide the next change.
TEST_F(NameCase, EveryNewNameIsSeenAtOnce) {
  for (int i = 0; i < 300; ++i) {
    const std::string name = "Name" + std::to_string(i);
    ASSERT_FALSE(FileExists(root_ / ("NAME" + std::to_string(i))));
    WriteBytes(root_ / name, "x");
    ASSERT_TRUE(FileExists(root_ / ("NAME" + std::to_string(i)))) << i;
  }
}

class BigFolder : public testing::Test {
 protected:
  static constexpr int kMessages = 100'000;

  static void SetUpTestSuite() {
    root_ = new TemporaryDirectory;
    for (next_ = 0; next_ < kMessages; ++next_) AddMessage(next_);
    for (const char* name : {"Sub Folder", "_CHANGE.DTY", "Anna.vcf"})
      WriteBytes(*root_ / name, "");
    // Looks until a listing is settled enough to be kept.
    for (std::uint64_t before = 1, after = 0; before != after;) {
      before = names::Counters().listings;
      (void)FileExists(*root_ / "no such name");
      after = names::Counters().listings;
    }
  }
  static void TearDownTestSuite() { delete root_; }

  static void AddMessage(int number) {
    const std::string path = *root_ / (std::to_string(number) + ".MAI");
    close(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
  }

  static inline TemporaryDirectory* root_ = nullptr;
  static inline int next_ = 0;
};

struct LookUp {
  std::string_view name, file;
  bool there;
  std::uint64_t mostLooks;  // in an unchanged folder, beside the first try of the caller
};
constexpr LookUp kLookUps[] = {
    {"Exact", "777.MAI", true, 0},
    {"ExactTable", "_CHANGE.DTY", true, 0},
    {"OtherCaseTable", "_change.dty", true, 2},
    {"MissingMessage", "x.MAI", false, 1},
    {"MessageOfOtherCase", "777.mai", false, 1},
    {"MissingTable", "_CACHE.DTY", false, 2},
    {"OtherCase", "ANNA.VCF", true, 2},
    {"MissingOther", "gone.vcf", false, 1},
};

TEST_F(BigFolder, NoUsualLookUpListsAnUnchangedOrAChangingFolder) {
  EXPECT_TRUE(FileExists(*root_ / "ANNA.VCF"));
  for (const bool changing : {false, true}) {
    for (const LookUp& c : kLookUps) {
      if (changing && c.name == "MissingOther") continue;
      if (changing) AddMessage(next_++);
      const names::LookupCounters before = names::Counters();
      EXPECT_EQ(FileExists(*root_ / c.file), c.there) << c.name;
      const names::LookupCounters after = names::Counters();
      EXPECT_EQ(after.listings, before.listings) << c.name << (changing ? ", changing" : "");
      EXPECT_TRUE(changing || after.looks - before.looks <= c.mostLooks) << c.name;
    }
  }
}

TEST_F(BigFolder, CreatingListsNothing) {
  const names::LookupCounters before = names::Counters();
  EXPECT_TRUE(WriteWholeFile(*root_ / "new.MAI", "x", false, Durability::kNone));
  EXPECT_TRUE(WriteWholeFile(*root_ / "_CACHE.DTY", "x", true, Durability::kNone));
  EXPECT_TRUE(WriteWholeFile(*root_ / "_3.NEW", "x", true, Durability::kNone));
  EXPECT_TRUE(DeleteFile(*root_ / "_3.new"));
  EXPECT_TRUE(DeleteFile(*root_ / "_CACHE.DTY"));
  EXPECT_EQ(names::Counters().listings, before.listings);
}

TEST_F(NameCase, ManyFoldersStayWithinTheCache) {
  constexpr int kFolders = 40;
  const std::string filler(200, 'f');
  for (int folder = 0; folder < kFolders; ++folder) {
    const std::string path = root_ / ("d" + std::to_string(folder));
    MakeDirectory(path);
    for (int i = 0; i < 1000; ++i) WriteBytes(path + "/" + filler + std::to_string(i), "");
  }
  // More than the cache holds: each look-up is right all the same, from several threads at once.
  const auto search = [&](int first) {
    for (int round = 0; round < 3 * kFolders; ++round) {
      const std::string folder = root_ / ("D" + std::to_string((first + round) % kFolders));
      EXPECT_TRUE(FileExists(folder + "/" + std::string(200, 'F') + "999"));
      EXPECT_FALSE(FileExists(folder + "/" + std::string(200, 'F') + "1000"));
    }
  };
  std::thread other(search, 20);
  search(0);
  other.join();
}

}  // namespace
}  // namespace corvane::platform
