// Files that appear at once: what readers see, what stops leave, full and read-only disks.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <set>
#include <thread>
#include <utility>

#include "platform/FaultInjection.h"
#include "platform/FileSystem.h"
#include "platform/NewFile.h"
#include "platform/WholeFile.h"
#include "tests/support/AsNobody.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/InDirectory.h"
#include "tests/support/SmallDisk.h"

namespace corvane::platform {
namespace {

using test::ErrorOf;
using test::ReadBytes;
using test::SmallDisk;
using test::TemporaryDirectory;
using test::WriteBytes;

// Puts a new file of that text in the place of `held`, which is given up; holds the new one.
File Replace(const std::string& path, File& held, std::string_view text, Share share,
             Durability durability) {
  WholeFile whole = WholeFile::Create(path);
  return whole && whole.Write(text) ? whole.CommitOver(held, share, durability) : File();
}

std::set<std::string> NamesIn(const std::string& path) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    names.insert(entry.path().filename().string());
  }
  return names;
}

// Both kinds of file systems: with nameless files and without.
class WholeFiles : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override { UseNamelessFiles(GetParam()); }
  void TearDown() override {
    DisarmFault();
    UseNamelessFiles(true);
  }
  const TemporaryDirectory root_;
  const std::string path_ = root_ / "0.MAI";
};

// So that what the superuser's tool rewrites stays the service's.
TEST_P(WholeFiles, KeepTheOwnerAndThePermissionsOfWhatTheyReplace) {
  for (const bool over : {false, true}) {
    WriteBytes(path_, "old");
    const ::uid_t owner = geteuid() == 0 ? 65534 : geteuid();
    ASSERT_EQ(chmod(path_.c_str(), 0660), 0);
    ASSERT_EQ(chown(path_.c_str(), owner, static_cast<::gid_t>(-1)), 0);
    if (over) {
      auto old = File::Open(path_, Access::kReadWrite, kShareNone, Disposition::kOpenExisting);
      EXPECT_TRUE(WholeFile::Create(path_).CommitOver(old, kShareAll, Durability::kNone).IsOpen());
    } else {
      EXPECT_TRUE(WriteWholeFile(path_, "", true, Durability::kNone));
    }
    struct stat state = {};
    ASSERT_EQ(stat(path_.c_str(), &state), 0);
    EXPECT_EQ(state.st_size, 0);
    EXPECT_EQ(state.st_uid, owner);
    EXPECT_EQ(state.st_mode & 0777U, 0660U);
    ASSERT_TRUE(DeleteFile(path_));
  }
}

TEST_P(WholeFiles, AppearAtCommitOnly) {
  {
    WholeFile whole = WholeFile::Create(path_);
    ASSERT_TRUE(whole.Write("half"));
    EXPECT_FALSE(FileExists(path_));
  }
  EXPECT_TRUE(NamesIn(root_.Path()).empty());
  WholeFile whole = WholeFile::Create(path_);
  ASSERT_TRUE(whole);
  std::string expected;
  for (int i = 0; i < 3000; ++i) {
    const std::string piece = "line " + std::to_string(i) + "\r\n";
    expected += piece;
    ASSERT_TRUE(whole.Write(piece));
  }
  expected.append(100'000, 'x');
  ASSERT_TRUE(whole.Write(std::string(100'000, 'x')));
  whole.SetLastWriteTime(1'000'000'000, 5);
  EXPECT_TRUE(whole.Commit(false, Durability::kDataAndName));
  EXPECT_EQ(ReadBytes(path_), expected);
  EXPECT_EQ(GetFileInfo(path_)->lastWriteTime, 1'000'000'000);
  EXPECT_EQ(GetFileInfo(path_)->lastWriteNanoseconds, 5);
  EXPECT_EQ(ErrorOf(WriteWholeFile(path_, "new", false)), kErrorFileExists);
  EXPECT_TRUE(WriteWholeFile(path_, "new"));
  EXPECT_EQ(ReadBytes(path_), "new");
  EXPECT_EQ(NamesIn(root_.Path()), std::set<std::string>{"0.MAI"});
}

TEST_P(WholeFiles, TakePiecesOfOthers) {
  WriteBytes(root_ / "source", "0123456789");
  const File source =
      File::Open(root_ / "source", Access::kRead, kShareAll, Disposition::kOpenExisting);
  WholeFile whole = WholeFile::Create(path_);
  EXPECT_TRUE(whole.Write("<"));
  EXPECT_TRUE(whole.CopyFrom(source, 2, 3));
  EXPECT_TRUE(whole.Write("|"));
  EXPECT_TRUE(whole.CopyFrom(source, 7));
  EXPECT_TRUE(whole.CopyFrom(source, 10));
  EXPECT_TRUE(whole.CopyFrom(source, 50));
  EXPECT_TRUE(whole.CopyFrom(source, 8, 50));
  EXPECT_TRUE(whole.Write(">"));
  EXPECT_TRUE(whole.Commit(false, Durability::kData));
  EXPECT_EQ(ReadBytes(path_), "<234|78989>");
}

TEST_P(WholeFiles, ReplaceALeftover) {
  WriteBytes(root_ / "_0.MAI.tmp", "left by a crash");
  EXPECT_TRUE(WriteWholeFile(path_, "1"));
  WriteBytes(root_ / "_0.MAI.tmp", "left by a crash");
  EXPECT_TRUE(WriteWholeFile(path_, "2"));
  EXPECT_EQ(ReadBytes(path_), "2");
  EXPECT_EQ(NamesIn(root_.Path()), std::set<std::string>{"0.MAI"});
}

TEST_P(WholeFiles, ServeNamesOfAnyLength) {
  const std::string name(255, 'n');
  EXPECT_TRUE(WriteWholeFile(root_ / name, "1"));
  EXPECT_TRUE(WriteWholeFile(root_ / name, "2"));
  EXPECT_EQ(ReadBytes(root_ / name), "2");
}

TEST_P(WholeFiles, ReadersSeeOldOrNew) {
  constexpr std::size_t kSize = 50'000;
  ASSERT_TRUE(WriteWholeFile(path_, std::string(kSize, 'a')));
  std::atomic<bool> stop{false};
  std::thread writer([&] {
    for (int i = 0; i < 300; ++i) {
      const std::string bytes(kSize, static_cast<char>('a' + i % 26));
      EXPECT_TRUE(WriteWholeFile(path_, bytes, true, Durability::kNone));
    }
    stop = true;
  });
  while (!stop) {
    const std::string bytes = ReadBytes(path_);
    ASSERT_EQ(bytes, std::string(kSize, bytes[0]));
  }
  writer.join();
}

TEST_P(WholeFiles, SeveralWritersLeaveOneWhole) {
  std::atomic<int> written{0};
  const auto write = [&](char letter) {
    for (int i = 0; i < 200; ++i) {
      if (WriteWholeFile(path_, std::string(20'000, letter), true, Durability::kNone)) {
        ++written;
        const std::string bytes = ReadBytes(path_);
        ASSERT_EQ(bytes, std::string(20'000, bytes[0]));
      } else {
        ASSERT_EQ(LastError(), kErrorSharingViolation);
      }
    }
  };
  std::thread other(write, 'b');
  write('a');
  other.join();
  EXPECT_GT(written, 0);
  EXPECT_EQ(NamesIn(root_.Path()), std::set<std::string>{"0.MAI"});
}

TEST_P(WholeFiles, StateChangesHandsUnderItsClaim) {
  WriteBytes(path_, "old");
  File held = File::Open(path_, Access::kReadWrite, kShareNone, Disposition::kOpenExisting);
  for (int i = 0; i < 3; ++i) {
    held = Replace(path_, held, std::to_string(i), kShareNone, Durability::kDataAndName);
    ASSERT_TRUE(held);
    EXPECT_EQ(ReadBytes(path_), std::to_string(i));
    EXPECT_EQ(held.ReadAll(), std::to_string(i));
    EXPECT_EQ(ErrorOf(ReadWholeFile(path_)), kErrorSharingViolation);
  }
  const File shared = Replace(path_, held, "", kShareRead, Durability::kNone);
  EXPECT_TRUE(shared);
  EXPECT_FALSE(held);
  EXPECT_EQ(ReadWholeFile(path_), "");
  EXPECT_EQ(NamesIn(root_.Path()), std::set<std::string>{"0.MAI"});
}

TEST_P(WholeFiles, NobodyGetsBetweenTwoStates) {
  WriteBytes(path_, "0");
  std::atomic<bool> stop{false};
  std::atomic<int> intruders{0};
  File held = File::Open(path_, Access::kReadWrite, kShareNone, Disposition::kOpenExisting);
  std::thread intruder([&] {
    while (!stop) {
      const File file = File::Open(path_, Access::kRead, kShareAll, Disposition::kOpenExisting);
      if (file) ++intruders;
    }
  });
  for (int i = 0; i < 300; ++i) {
    held = Replace(path_, held, std::to_string(i), kShareNone, Durability::kNone);
    ASSERT_TRUE(held);
  }
  stop = true;
  intruder.join();
  EXPECT_EQ(intruders, 0);
}

struct Operation {
  const char* name;
  bool (*apply)(const TemporaryDirectory& root);
  std::set<std::string> contents;  // that 0.MAI may have after a stop
  bool existed = true;
};

bool Rewrite(const TemporaryDirectory& root) {
  File held =
      File::Open(root / "0.MAI", Access::kReadWrite, kShareNone, Disposition::kOpenExisting);
  return held && Replace(root / "0.MAI", held, "new", kShareNone, Durability::kDataAndName);
}

bool Write(const TemporaryDirectory& root) { return WriteWholeFile(root / "0.MAI", "new"); }
bool Copy(const TemporaryDirectory& root) {
  return CopyFile(root / "source", root / "0.MAI", true, true);
}
bool Link(const TemporaryDirectory& root) {
  return LinkFile(root / "source", root / "0.MAI", true);
}

const Operation kOperations[] = {
    {"Write", Write, {"old", "new"}}, {"WriteNew", Write, {"new"}, false},
    {"Copy", Copy, {"old", "new"}},   {"CopyNew", Copy, {"new"}, false},
    {"Link", Link, {"old", "new"}},   {"CommitOver", Rewrite, {"old", "new"}},
};

void Prepare(const TemporaryDirectory& root, const Operation& operation) {
  for (const std::string& name : NamesIn(root.Path())) unlink((root / name).c_str());
  WriteBytes(root / "source", "new");
  if (operation.existed) WriteBytes(root / "0.MAI", "old");
}

void ExpectWhole(const TemporaryDirectory& root, const Operation& operation) {
  if (FileExists(root / "0.MAI")) {
    EXPECT_EQ(operation.contents.count(ReadBytes(root / "0.MAI")), 1U) << operation.name;
  } else {
    EXPECT_FALSE(operation.existed) << operation.name;
  }
  std::set<std::string> names = NamesIn(root.Path());
  for (const char* known : {"0.MAI", "source", "_0.MAI.tmp"}) names.erase(known);
  EXPECT_TRUE(names.empty()) << operation.name << " left " << *names.begin();
}

// Breaks each operation at each of its calls in turn; `run` returns false when nothing broke.
template <typename Break>
void BreakEverywhere(const TemporaryDirectory& root, Break breakAt) {
  for (const Operation& operation : kOperations) {
    Prepare(root, operation);
    ArmFault({.number = UINT64_MAX});
    ASSERT_TRUE(operation.apply(root)) << operation.name;
    const std::uint64_t calls = CountedFileCalls();
    ASSERT_GE(calls, 3U) << operation.name;
    for (std::uint64_t number = 1; number <= calls; ++number) {
      SCOPED_TRACE(operation.name + std::string(", call ") + std::to_string(number));
      Prepare(root, operation);
      breakAt(operation, number);
      DisarmFault();
      ExpectWhole(root, operation);
      ASSERT_TRUE(operation.apply(root));
      EXPECT_EQ(ReadBytes(root / "0.MAI"), "new");
    }
  }
}

TEST_P(WholeFiles, AFailedCallLeavesOldOrNew) {
  BreakEverywhere(root_, [&](const Operation& operation, std::uint64_t number) {
    ArmFault({.number = number, .error = kErrorDiskFull});
    EXPECT_EQ(ErrorOf(operation.apply(root_)), kErrorDiskFull);
    EXPECT_FALSE(FileExists(root_ / "_0.MAI.tmp"));
  });
}

TEST_P(WholeFiles, AStopLeavesOldOrNew) {
  BreakEverywhere(root_, [&](const Operation& operation, std::uint64_t number) {
    ArmFault({.number = number, .action = FaultAction::kThrow});
    EXPECT_THROW((void)operation.apply(root_), FaultStop);
  });
}

TEST_P(WholeFiles, AKilledProcessLeavesOldOrNew) {
  BreakEverywhere(root_, [&](const Operation& operation, std::uint64_t number) {
    EXPECT_EQ(test::RunInChild([&] {
                ArmFault({.number = number, .action = FaultAction::kKill});
                return operation.apply(root_) ? 0 : 1;
              }),
              -1);
  });
}

INSTANTIATE_TEST_SUITE_P(Both, WholeFiles, testing::Bool(),
                         [](const auto& info) { return info.param ? "Nameless" : "Named"; });

class Disk : public test::InDirectory {
 protected:
  void SetUp() override {
    if (!disk_.IsMounted()) GTEST_SKIP() << "may not mount a small disk";
  }
  const SmallDisk disk_{65536};
  const std::string onDisk_ = disk_.Path() + "/0.MAI";
};

TEST_F(Disk, WhenFullLeavesTheOldFile) {
  ASSERT_TRUE(WriteWholeFile(onDisk_, "old"));
  const std::string big(100'000, 'x');
  EXPECT_EQ(ErrorOf(WriteWholeFile(onDisk_, big)), kErrorDiskFull);
  WriteBytes(root_ / "big", big);
  EXPECT_EQ(ErrorOf(CopyFile(root_ / "big", onDisk_, true, true)), kErrorDiskFull);
  EXPECT_EQ(ErrorOf(MoveFile(root_ / "big", onDisk_, true)), kErrorDiskFull);
  EXPECT_EQ(ReadBytes(root_ / "big"), big);
  EXPECT_EQ(ReadBytes(onDisk_), "old");
  EXPECT_EQ(NamesIn(disk_.Path()), std::set<std::string>{"0.MAI"});
  EXPECT_TRUE(WriteWholeFile(disk_.Path() + "/1.MAI", std::string(20'000, 'y')));
}

TEST_F(Disk, FilesMoveBetweenTwo) {
  WriteBytes(root_ / "a", "a");
  ASSERT_TRUE(SetLastWriteTime(root_ / "a", 1'000'000));
  EXPECT_EQ(ErrorOf(LinkFile(root_ / "a", onDisk_, false)), kErrorNotSameDevice);
  EXPECT_TRUE(MoveFile(root_ / "a", onDisk_));
  EXPECT_FALSE(FileExists(root_ / "a"));
  EXPECT_EQ(ReadBytes(onDisk_), "a");
  EXPECT_EQ(GetFileInfo(onDisk_)->lastWriteTime, 1'000'000);
  WriteBytes(root_ / "b", "b");
  EXPECT_EQ(ErrorOf(MoveFile(root_ / "b", onDisk_)), kErrorAlreadyExists);
}

// Every way to change something in a place where nothing may be changed; 0.MAI is there.
void ExpectRefused(const std::string& place, std::int32_t error) {
  const auto open = [&](const char* name, Disposition disposition) {
    return File::Open(place + name, Access::kReadWrite, kShareNone, disposition).IsOpen();
  };
  const std::pair<const char*, std::function<bool()>> changes[] = {
      {"write", [&] { return WriteWholeFile(place + "/0.MAI", "new"); }},
      {"delete", [&] { return DeleteFile(place + "/0.MAI"); }},
      {"directory", [&] { return CreateDirectory(place + "/d"); }},
      {"move", [&] { return MoveFile(place + "/0.MAI", place + "/1.MAI"); }},
      {"open", [&] { return open("/0.MAI", Disposition::kOpenExisting); }},
      {"create", [&] { return open("/1.MAI", Disposition::kCreateNew); }},
  };
  for (const auto& [name, change] : changes) {
    EXPECT_EQ(ErrorOf(change()), error) << name;
  }
  EXPECT_EQ(ReadWholeFile(place + "/0.MAI"), "old");
}

TEST_F(Disk, WhenReadOnlySaysSo) {
  WriteBytes(onDisk_, "old");
  ASSERT_TRUE(disk_.MakeReadOnly());
  ExpectRefused(disk_.Path(), kErrorWriteProtect);
  File reader = File::Open(onDisk_, Access::kRead, kShareNone, Disposition::kOpenExisting);
  EXPECT_EQ(reader.ReadAll(), "old");
}

TEST(ReadOnlyDirectory, WhatMayNotBeWrittenIsDenied) {
  const TemporaryDirectory root;
  WriteBytes(root / "0.MAI", "old");
  ASSERT_EQ(chmod((root / "0.MAI").c_str(), 0444), 0);
  ASSERT_EQ(chmod(root.Path().c_str(), 0555), 0);
  {
    const test::AsNobody nobody;
    ExpectRefused(root.Path(), kErrorAccessDenied);
  }
  EXPECT_EQ(chmod(root.Path().c_str(), 0755), 0);
}

}  // namespace
}  // namespace corvane::platform
