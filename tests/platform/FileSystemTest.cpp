// Files and directories by their paths.
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <set>
#include <tuple>

#include "platform/FileSystem.h"
#include "platform/WholeFile.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/InDirectory.h"
#include "tests/support/Threads.h"

namespace corvane::platform {
namespace {

using test::ErrorOf;
using test::ReadBytes;
using test::TemporaryDirectory;
using test::WriteBytes;

using FileSystem = test::InDirectory;

TEST_F(FileSystem, CopiesKeepBytesAndTime) {
  for (const std::size_t size : {0U, 1U, 4096U, 5'000'003U}) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 % 251);
    WriteBytes(root_ / "from", bytes);
    ASSERT_TRUE(SetLastWriteTime(root_ / "from", 1'000'000'000, 123'456'789));
    ASSERT_TRUE(CopyFile(root_ / "from", root_ / "to", true, size % 2 != 0));
    EXPECT_EQ(ReadBytes(root_ / "to"), bytes);
    const std::optional<FileInfo> info = GetFileInfo(root_ / "to");
    ASSERT_TRUE(info);
    EXPECT_EQ(info->lastWriteTime, 1'000'000'000);
    EXPECT_EQ(info->lastWriteNanoseconds, 123'456'789);
    EXPECT_EQ(info->size, size);
  }
  EXPECT_EQ(ErrorOf(CopyFile(root_ / "from", root_ / "to", false, false)), kErrorFileExists);
  EXPECT_EQ(ErrorOf(CopyFile(root_ / "none", root_ / "to", true, false)), kErrorFileNotFound);
  EXPECT_EQ(ErrorOf(CopyFile(root_ / "from", root_ / "none\\to", true, false)), kErrorPathNotFound);
}

struct MoveCase {
  std::string_view name, from, to;
  bool replace;
  std::int32_t error;
};
const MoveCase kMoves[] = {
    {"ToNew", "a", "new", false, 0},
    {"OntoFile", "a", "b", false, kErrorAlreadyExists},
    {"OverFile", "a", "b", true, 0},
    {"OverOwnOtherName", "a", "link", true, 0},
    {"OverItself", "a", "a", true, 0},
    {"FromNothing", "none", "b", true, kErrorFileNotFound},
    {"FromNowhere", "none\\x", "b", true, kErrorPathNotFound},
    {"ToNowhere", "a", "none\\x", true, kErrorPathNotFound},
    {"OverDirectory", "a", "dir", true, kErrorAccessDenied},
    {"DirectoryToNew", "dir", "new", false, 0},
    {"DirectoryOntoDirectory", "dir", "dir2", false, kErrorAlreadyExists},
    {"ToOtherCase", "a", "A", false, 0},
};

TEST_F(FileSystem, MovesTakeTheNameOrLeaveAll) {
  for (const MoveCase& c : kMoves) {
    const TemporaryDirectory root;
    WriteBytes(root / "a", "a");
    WriteBytes(root / "b", "b");
    std::filesystem::create_hard_link(root / "a", root / "link");
    std::filesystem::create_directories(root / "dir");
    std::filesystem::create_directories(root / "dir2");
    SetLastError(0);
    EXPECT_EQ(MoveFile(root / c.from, root / c.to, c.replace), c.error == 0) << c.name;
    EXPECT_EQ(LastError(), c.error) << c.name;
    const bool gone = c.error == 0 && c.from != c.to;
    EXPECT_EQ(std::filesystem::exists(root / c.from), !gone && c.from[0] != 'n') << c.name;
    if (gone && c.from[0] == 'a') {
      EXPECT_EQ(ReadBytes(root / c.to), "a") << c.name;
    }
    if (c.error != 0) {
      EXPECT_EQ(ReadBytes(root / "b"), "b") << c.name;
    }
  }
}

TEST_F(FileSystem, LinksGiveAFileASecondName) {
  WriteBytes(root_ / "a", "a");
  WriteBytes(root_ / "b", "b");
  EXPECT_TRUE(LinkFile(root_ / "a", root_ / "new", true));
  EXPECT_TRUE(LinkFile(root_ / "a", root_ / "b", false));
  EXPECT_TRUE(LinkFile(root_ / "a", root_ / "b", false));
  EXPECT_EQ(std::filesystem::hard_link_count(root_ / "a"), 3U);
  EXPECT_EQ(ErrorOf(LinkFile(root_ / "a", root_ / "none\\x", false)), kErrorPathNotFound);
  EXPECT_EQ(ErrorOf(LinkFile(root_ / "none", root_ / "b", false)), kErrorFileNotFound);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root_.Path()), {}), 3);
}

TEST_F(FileSystem, DeletesFilesAndNothingElse) {
  WriteBytes(root_ / "a", "a");
  EXPECT_TRUE(CreateDirectory(root_ / "dir"));
  EXPECT_TRUE(DeleteFile(root_ / "a"));
  EXPECT_EQ(ErrorOf(DeleteFile(root_ / "a")), kErrorFileNotFound);
  EXPECT_EQ(ErrorOf(DeleteFile(root_ / "dir")), kErrorAccessDenied);
}

TEST_F(FileSystem, DirectoriesComeAndGo) {
  EXPECT_EQ(ErrorOf(CreateDirectory(root_ / "a\\b")), kErrorPathNotFound);
  EXPECT_TRUE(CreateDirectories(root_ / "a\\b\\\\c\\"));
  EXPECT_TRUE(CreateDirectories(root_ / "a\\b\\c"));
  EXPECT_EQ(ErrorOf(CreateDirectory(root_ / "a\\b")), kErrorAlreadyExists);
  WriteBytes(root_ / "a/file", "");
  EXPECT_FALSE(CreateDirectories(root_ / "a\\file\\x"));
  EXPECT_EQ(ErrorOf(CreateDirectories(root_ / "a\\file")), kErrorAlreadyExists);
  EXPECT_TRUE(DirectoryExists(root_ / "A\\B"));
  EXPECT_FALSE(DirectoryExists(root_ / "a\\file"));
  EXPECT_EQ(ErrorOf(RemoveDirectory(root_ / "a")), kErrorDirectoryNotEmpty);
  EXPECT_TRUE(RemoveDirectory(root_ / "a\\b\\c"));
  EXPECT_TRUE(RemoveTree(root_ / "a"));
  EXPECT_FALSE(FileExists(root_ / "a"));
}

TEST_F(FileSystem, SeveralMayMakeTheSameDirectories) {
  const test::Threads threads(6, [&](int) {
    for (int round = 0; round < 50; ++round) {
      EXPECT_TRUE(CreateDirectories(root_ / ("r" + std::to_string(round) + "\\RULES\\deep\\er")));
    }
  });
}

TEST_F(FileSystem, ExistsIsFalseForFourErrorsOnly) {
  WriteBytes(root_ / "a", "");
  EXPECT_TRUE(FileExists(root_ / "a"));
  EXPECT_TRUE(FileExists(root_.Path()));
  EXPECT_FALSE(FileExists(root_ / "b"));
  EXPECT_FALSE(FileExists(root_ / "b\\c"));
  EXPECT_FALSE(FileExists(root_ / std::string_view("a\0", 2)));
  EXPECT_FALSE(FileExists(""));
  EXPECT_TRUE(FileExists(root_ / std::string(300, 'x')));
}

TEST_F(FileSystem, FinderGivesWhatMatches) {
  for (const char* name : {"1.MAI", "2.mai", "_3.MAI", "4.MAI.tmp", "Notes", ".hidden"}) {
    WriteBytes(root_ / name, name);
  }
  std::filesystem::create_directory(root_ / "Sub");
  // A pattern, the names that it finds, and the error at the end.
  const std::tuple<const char*, std::multiset<std::string>, std::int32_t> cases[] = {
      {"*.MAI", {"1.MAI", "2.mai", "_3.MAI"}, kErrorNoMoreFiles},
      {"*",
       {".hidden", "1.MAI", "2.mai", "4.MAI.tmp", "Notes", "Sub", "_3.MAI"},
       kErrorNoMoreFiles},
      {"*.VCF", {}, kErrorFileNotFound},
      {"none\\*", {}, kErrorPathNotFound},
      {"NOTES", {"Notes"}, kErrorNoMoreFiles},
      {"notez", {}, kErrorFileNotFound},
      {"sub\\*", {}, kErrorFileNotFound},
  };
  for (const auto& [pattern, expected, error] : cases) {
    std::multiset<std::string> names;
    FileFinder finder(root_ / pattern);
    while (const auto found = finder.Next()) {
      names.insert(found->name);
      EXPECT_EQ(found->info.directory, found->name == "Sub");
      EXPECT_TRUE(found->info.directory || found->info.size == found->name.size());
    }
    EXPECT_EQ(LastError(), error) << pattern;
    EXPECT_EQ(names, expected) << pattern;
  }
}

TEST_F(FileSystem, CreationTimeIsTheSystemsOrTheOneSet) {
  const std::int64_t before = std::time(nullptr) - 2;
  WriteBytes(root_ / "a", "");
  ASSERT_TRUE(SetLastWriteTime(root_ / "a", 1'000'000));
  const std::optional<FileInfo> info = GetFileInfo(root_ / "a");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->lastWriteTime, 1'000'000);
  EXPECT_GE(info->creationTime, before);
  EXPECT_EQ(GetCreationTime(root_ / "a"), info->creationTime);
  if (!SetCreationTime(root_ / "A", 1'234'567)) GTEST_SKIP() << "no attributes on this file system";
  EXPECT_EQ(GetCreationTime(root_ / "a"), 1'234'567);
}

TEST_F(FileSystem, DosTimesGoThereAndBack) {
  setenv("TZ", "UTC", 1);
  tzset();
  // Seconds since 1970, the words for date and time, and what they are in seconds.
  const std::tuple<std::int64_t, std::uint16_t, std::uint16_t, std::int64_t> cases[] = {
      {315'532'800, 0x0021, 0x0000, 315'532'800},      // 1980-01-01 00:00:00
      {1'700'000'001, 0x576E, 0xB1AA, 1'700'000'000},  // 2023-11-14 22:13:21
      {951'827'771, 0x285D, 0x6485, 951'827'770},      // 2000-02-29 12:36:11
  };
  for (const auto& [seconds, date, time, back] : cases) {
    const DosDateTime words = ToDosDateTime(seconds);
    EXPECT_EQ(words.date, date) << seconds;
    EXPECT_EQ(words.time, time) << seconds;
    EXPECT_EQ(FromDosDateTime(words), back);
  }
  EXPECT_EQ(ToDosDateTime(0).date, 0);
}

TEST_F(FileSystem, ADirectoryThatIsMissingCannotBeFlushed) {
  EXPECT_TRUE(FlushDirectory(root_.Path()));
  EXPECT_TRUE(FlushFileSystems({root_.Path(), root_.Path()}));
  EXPECT_EQ(ErrorOf(FlushDirectory(root_ / "none")), kErrorFileNotFound);
  EXPECT_FALSE(FlushFileSystems({root_ / "none"}));
}

}  // namespace
}  // namespace corvane::platform
