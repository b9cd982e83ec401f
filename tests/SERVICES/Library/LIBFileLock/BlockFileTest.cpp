// Block files: every wait, force and way to give up, on a clock that doesn't wait; and two programs
// that count under one lock.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "SERVICES/Library/LIBFileLock/BlockFile.h"
#include "SERVICES/Library/LIBFileLock/BlockFileLock.h"
#include "SERVICES/Library/LIBFileLock/FileOpener.h"
#include "SERVICES/Library/LIBFileLock/IndexBlockFile.h"
#include "platform/Clock.h"
#include "platform/Error.h"
#include "platform/Machine.h"
#include "platform/Thread.h"
#include "tests/support/AsNobody.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/HeardEvents.h"
#include "tests/support/SettingsFixture.h"

namespace corvane::test {
namespace {

// A program looks once whether the debugger channel is wanted, at its first line.
[[maybe_unused]] const int kChannelWanted = setenv("CORVANE_DEBUG_CHANNEL", "1", 1);

class BlockFileTest : public SettingsFixture {
 protected:
  [[nodiscard]] std::string Path(const char* name = "_activity.blk") const {
    return Directory() / name;
  }
  [[nodiscard]] platform::File Hold(const std::string& path,
                                    platform::Share share = platform::kShareNone) const {
    return platform::File::Open(path, platform::Access::kReadWrite, share,
                                platform::Disposition::kCreateAlways);
  }
  std::int32_t Wait(platform::File* handle, bool keep = true, std::int32_t retry = 0,
                    std::int32_t threshold = 100, bool writeHolder = false) {
    return WaitForAccessToFile(Path(), handle, keep, retry, threshold, writeHolder);
  }
  [[nodiscard]] std::int64_t SecondsSlept() { return Clock().Slept() / 1000; }
};

TEST_F(BlockFileTest, AFreeLockIsTakenAndGivenBackAtOnce) {
  platform::File handle;
  EXPECT_EQ(Wait(&handle), 1);
  EXPECT_TRUE(handle.IsOpen());
  EXPECT_EQ(ReadBytes(Path()), "");
  EXPECT_EQ(UnBlockIndexFileAccess_Notify(Path(), &handle), 1);
  EXPECT_FALSE(fs::exists(Path()));
  EXPECT_EQ(UnBlockIndexFileAccess_Notify(Path(), nullptr), 2) << "gone already";
  EXPECT_EQ(Wait(&handle, false), 1);
  EXPECT_FALSE(handle.IsOpen());
  EXPECT_TRUE(fs::exists(Path())) << "the file is the lock";
  EXPECT_EQ(SecondsSlept(), 0);
}

TEST_F(BlockFileTest, WithoutItsDirectoryThereIsNoLock) {
  platform::File handle;
  const std::string path = Directory() / "none/_activity.blk";
  EXPECT_EQ(WaitForAccessToFile(path, &handle, true, -1, 100, false), 0);
  EXPECT_EQ(UnBlockIndexFileAccess_Notify(path, nullptr), 0);
  EXPECT_EQ(WaitForAccessToIndexFile(path), 0);
  EXPECT_EQ(UnBlockIndexFileAccess(path), 0);
  EXPECT_EQ(SecondsSlept(), 0);
  BlockFileLock lock;
  lock.Acquire(Directory() / "none", "_activity.blk", true, 0, 100);
  EXPECT_TRUE(lock.IsHeld()) << "this one makes it";
}

TEST_F(BlockFileTest, WhereNoFileCanBeMadeTheWaitGivesUp) {
  fs::permissions(Directory().Path(), fs::perms(0755));
  const AsNobody nobody;
  platform::File handle;
  EXPECT_EQ(Wait(&handle, true, 0, 5), -1);
  EXPECT_EQ(SecondsSlept(), 6);
}

TEST_F(BlockFileTest, WhatAnotherHasMadeIsNotGivenBack) {
  platform::File handle;
  ASSERT_EQ(Wait(&handle), 1);
  fs::remove(Path());
  WriteBytes(Path(), "another's");
  EXPECT_EQ(UnBlockIndexFileAccess_Notify(Path(), &handle), 2);
  EXPECT_TRUE(fs::remove(Path()));
  ASSERT_EQ(WaitForAccessToIndexFileEx(Path(), 1, &handle), 1);
  fs::remove(Path());
  WriteBytes(Path(), "another's");
  EXPECT_EQ(UnBlockIndexFileAccessEx(Path(), 1, &handle), 0);
  EXPECT_TRUE(fs::exists(Path()));
  EXPECT_FALSE(handle.IsOpen());
}

// What a dead program left is taken after the threshold; a holder who keeps it open is not forced.
TEST_F(BlockFileTest, AWaitEndsByForceOrIsGivenUpAndTheLogTellsHow) {
  Set("Debug Enabled", 3, "CONNECTORS\\SF");
  const std::string prefix = "[Thread:" + std::to_string(platform::CurrentThreadId()) + "] ";
  const std::string timedOut =
      prefix + "WaitForAccessToFile: Blocking timed out on activity file: " + Path() + "\n";
  const auto told = [&](const std::function<void()>& wait) {
    testing::internal::CaptureStderr();
    wait();
    return testing::internal::GetCapturedStderr();
  };
  platform::File handle;
  WriteBytes(Path(), "left behind");
  EXPECT_EQ(told([&] { EXPECT_EQ(Wait(&handle, true, 0, 20), 1); }),
            prefix + "WaitForAccessToFile: Blocking on activity file: " + Path() + " (10)\n" +
                prefix + "WaitForAccessToFile: Blocking on activity file: " + Path() + " (20)\n" +
                timedOut + prefix + "WaitForAccessToFile: Unblocked activity file: " + Path() +
                "\n");
  EXPECT_EQ(SecondsSlept(), 21);
  EXPECT_EQ(ReadBytes(Path()), "") << "another file";
  handle.Close();
  auto holder = Hold(Path(), platform::kShareRead);
  ASSERT_TRUE(holder.Write("HOST program 17\r\nmore"));
  EXPECT_EQ(told([&] { EXPECT_EQ(Wait(&handle, true, 0, 5), -1); }),
            timedOut + prefix + "Error: Activity file (" + Path() +
                ") access could not be obtained within threshold of 5 seconds. Giving up.  File "
                "locked by [HOST program 17].\n");
  EXPECT_EQ(SecondsSlept(), 21 + 6 + 80);
  EXPECT_TRUE(fs::exists(Path()));
  const BlockFileLock lock(Path(), true, 0, 0);
  EXPECT_TRUE(lock.HasGivenUp());
  EXPECT_FALSE(lock.IsHeld());
}

TEST_F(BlockFileTest, AScopeLockThatFailsIsInTheEventLog) {
  const HeardEvents heard;
  const std::string path = Directory() / "none/_activity.blk";
  const BlockFileLock lock(path, true);
  EXPECT_FALSE(lock.IsHeld());
  EXPECT_FALSE(lock.HasGivenUp());
  const std::string text = "CV-EXXXX: [Thread:" + std::to_string(platform::CurrentThreadId()) +
                           "] Error (Class S): BlockFileLock Activity notification handler "
                           "(WaitForAccessToFile) failed to obtain a lock on the blockfile (" +
                           path + ").\n";
  EXPECT_EQ(heard.all, (std::vector<HeardEvents::Event>{
                           {"Corvane", platform::EventType::kError, 0x40000001U, text}}));
}

TEST_F(BlockFileTest, TheFileNamesItsHolderWhenAsked) {
  platform::File handle;
  ASSERT_EQ(Wait(&handle, true, 0, 100, true), 1);
  const std::string line = ReadBytes(Path());
  const auto now = platform::ToLocalTime(1'700'000'000);
  const std::string start =
      platform::FormatTime(now, "%x %X") + " " + platform::ComputerName() + " ";
  EXPECT_EQ(line.substr(0, start.size()), start);
  EXPECT_EQ(line.find_first_of("\r\n"), std::string::npos);
}

TEST_F(BlockFileTest, TheScopeLockGivesBack) {
  {
    BlockFileLock lock(Path(), true);
    EXPECT_TRUE(lock.IsHeld());
    EXPECT_TRUE(lock.Handle.IsOpen());
    EXPECT_STREQ(lock.Path, Path().c_str());
    lock.Acquire(Directory().Path(), "other.blk", false, 0, 0);
    EXPECT_FALSE(fs::exists(Path()));
    EXPECT_TRUE(fs::exists(Path("other.blk")));
  }
  EXPECT_FALSE(fs::exists(Path("other.blk")));
  BlockFileLock longPath(std::string(2000, 'x'), false, 0, 0);
  EXPECT_FALSE(longPath.IsHeld());
}

TEST_F(BlockFileTest, IndexLocksAreForcedAfterSixtyAttempts) {
  const std::string path = Path("_index.blk");
  platform::File handle;
  for (const std::uint32_t mode : {0U, 1U}) {
    Set("Index Unblock Mode", mode, "PROVIDERS");
    const std::int64_t before = SecondsSlept();
    WriteBytes(path, "left behind");
    EXPECT_EQ(WaitForAccessToIndexFileEx(path, 1, &handle), 1);
    EXPECT_EQ(SecondsSlept() - before, mode == 0 ? 61 : 1);
    EXPECT_TRUE(handle.IsOpen());
    EXPECT_EQ(UnBlockIndexFileAccessEx(path, 1, &handle), 1);
    EXPECT_FALSE(handle.IsOpen());
    EXPECT_FALSE(fs::exists(path));
  }
  WriteBytes(path, "left behind");
  const std::int64_t before = SecondsSlept();
  EXPECT_EQ(WaitForAccessToIndexFile(path), 1);
  EXPECT_EQ(SecondsSlept() - before, 61) << "the orphan rule is for those who keep it open";
}

TEST_F(BlockFileTest, AnIndexLockThatIsKeptOpenCannotBeTaken) {
  Set("Index Unblock Mode", 1, "PROVIDERS");
  Set("Debug Logging Level", 8, "CONNECTORS\\SF");
  const std::string path = Path("_index.blk");
  platform::File holder;
  ASSERT_EQ(WaitForAccessToIndexFileEx(path, 1, &holder), 1);
  platform::File handle;
  EXPECT_EQ(WaitForAccessToIndexFileEx(path, 1, &handle), 0);
  EXPECT_EQ(SecondsSlept(), 61 + 80);
  EXPECT_FALSE(handle.IsOpen());
  holder.Close();
  EXPECT_EQ(ReadBytes(path).substr(0, 24), "File Locked by Process: ");
}

TEST_F(BlockFileTest, FileOpenerPausesOnceWhereSomebodyIsInTheWay) {
  FileOpener missing(Path("none"), "r", 0);
  EXPECT_FALSE(missing.IsOpen());
  EXPECT_EQ(missing.GetLastError(), platform::kErrorFileNotFound);
  EXPECT_EQ(SecondsSlept(), 0);
  FileOpener writer(Path("file"), "w", 1);
  ASSERT_TRUE(writer.IsOpen());
  EXPECT_EQ(writer.GetLastError(), 0);
  EXPECT_TRUE(writer.File.Write("one\n"));
  const FileOpener second(Path("file"), "r", 0);
  EXPECT_FALSE(second.IsOpen());
  EXPECT_EQ(second.GetLastError(), platform::kErrorSharingViolation);
  EXPECT_EQ(SecondsSlept(), 1);
  EXPECT_TRUE(writer.Flush());
  EXPECT_TRUE(writer.Close());
  EXPECT_FALSE(writer.Close());
  EXPECT_EQ(ReadBytes(Path("file")), "one\r\n");
  EXPECT_EQ(FileOpener(Path("file"), "rb+", 0).GetLastError(), platform::kErrorInvalidParameter);
}

// A count in a file, raised under the lock by several threads of several programs. The real clock:
// a program that meets the lock looks again a second later.
TEST_F(BlockFileTest, ProgramsExcludeEachOther) {
  platform::SetClock(nullptr);
  WriteBytes(Path("count"), "0");
  constexpr int kPrograms = 2;
  constexpr int kRounds = 2;
  const auto raise = [&] {
    for (int round = 0; round < kRounds; ++round) {
      const BlockFileLock lock(Path(), true);
      const int count = std::stoi(ReadBytes(Path("count")));
      std::this_thread::yield();
      WriteBytes(Path("count"), std::to_string(count + 1));
    }
  };
  const auto twice = [&](int) {
    std::thread other(raise);
    raise();
    other.join();
    return 0;
  };
  ChildProcess first(twice);
  ChildProcess second(twice);
  std::thread asks([&] { EXPECT_EQ(first.Ask(0), 0); });
  EXPECT_EQ(second.Ask(0), 0);
  asks.join();
  platform::SetClock(&Clock());
  EXPECT_EQ(ReadBytes(Path("count")), std::to_string(kPrograms * 2 * kRounds));
  EXPECT_FALSE(fs::exists(Path()));
}

}  // namespace
}  // namespace corvane::test
