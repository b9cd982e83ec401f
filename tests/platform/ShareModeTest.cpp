// Opens against opens: between threads, processes, and against deletes, renames and replacements.
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <functional>
#include <thread>
#include <tuple>

#include "platform/File.h"
#include "platform/FileSystem.h"
#include "platform/WholeFile.h"
#include "tests/support/AsNobody.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/InDirectory.h"
#include "tests/support/Threads.h"

namespace corvane::platform {
namespace {

using test::ChildProcess;
using test::WriteBytes;

// Every way to open: three accesses by eight share modes.
constexpr int kModes = 24;

Access AccessOf(int mode) { return static_cast<Access>(mode / 8); }
Share ShareOf(int mode) { return {(mode & 1) != 0, (mode & 2) != 0, (mode & 4) != 0}; }

File OpenMode(const std::string& path, int mode) {
  return File::Open(path, AccessOf(mode), ShareOf(mode), Disposition::kOpenExisting);
}

std::string Describe(int mode) {
  const Share share = ShareOf(mode);
  const char* accesses[] = {"read", "write", "both"};
  return std::string(accesses[mode / 8]) + " sharing" + (share.read ? " read" : "") +
         (share.write ? " write" : "") + (share.remove ? " delete" : "");
}

// The rule: each allows what the other does.
bool Allows(int holder, int opener) {
  const bool reads = AccessOf(opener) != Access::kWrite;
  const bool writes = AccessOf(opener) != Access::kRead;
  return (!reads || ShareOf(holder).read) && (!writes || ShareOf(holder).write);
}
bool GoTogether(int a, int b) { return Allows(a, b) && Allows(b, a); }

// While somebody holds `path` in the mode `holder`, those get it whom the rule lets in.
void ExpectRule(const std::string& path, int holder, int openers = kModes) {
  for (int opener = 0; opener < openers; ++opener) {
    const bool opened = OpenMode(path, opener).IsOpen();
    EXPECT_EQ(opened, GoTogether(holder, opener)) << Describe(holder) << ", " << Describe(opener);
    EXPECT_EQ(opened ? kErrorSharingViolation : LastError(), kErrorSharingViolation);
  }
}

class ShareModes : public test::InDirectory {
 protected:
  ShareModes() { WriteBytes(path_, "x"); }

  const std::string path_ = root_ / "0.MAI";
};

TEST_F(ShareModes, HoldBetweenThreads) {
  for (int holder = 0; holder < kModes; ++holder) {
    const File held = OpenMode(path_, holder);
    ASSERT_TRUE(held) << Describe(holder);
    std::thread([&] { ExpectRule(path_, holder); }).join();
  }
}

TEST_F(ShareModes, HoldBetweenProcesses) {
  File held;
  ChildProcess child([&](int mode) {
    held = File();
    held = OpenMode(path_, mode);
    return held.IsOpen() ? 1 : 0;
  });
  for (int holder = 0; holder < kModes; ++holder) {
    ASSERT_EQ(child.Ask(holder), 1);
    ExpectRule(path_, holder);
  }
}

// Where the file can't be opened for writing, exclusive locks aren't to be had.
TEST_F(ShareModes, HoldOnReadOnlyFiles) {
  ASSERT_EQ(chmod(path_.c_str(), 0444), 0);
  ASSERT_EQ(chmod(root_.Path().c_str(), 0755), 0);
  const test::AsNobody nobody;
  for (int holder = 0; holder < 8; ++holder) {
    const File held = OpenMode(path_, holder);
    ASSERT_TRUE(held) << Describe(holder);
    ExpectRule(path_, holder, 8);
  }
  EXPECT_EQ(test::ErrorOf(File::Open(path_, Access::kWrite, kShareAll, Disposition::kOpenExisting)),
            kErrorAccessDenied);
}

TEST_F(ShareModes, ThreeHoldersAreAllAsked) {
  const File one = File::Open(path_, Access::kRead, kShareAll, Disposition::kOpenExisting);
  File two = File::Open(path_, Access::kRead, kShareReadRemove, Disposition::kOpenExisting);
  const File three = File::Open(path_, Access::kRead, kShareAll, Disposition::kOpenExisting);
  EXPECT_FALSE(File::Open(path_, Access::kWrite, kShareAll, Disposition::kOpenExisting));
  EXPECT_TRUE(two.Close());
  EXPECT_TRUE(File::Open(path_, Access::kWrite, kShareAll, Disposition::kOpenExisting));
}

TEST_F(ShareModes, TheClaimOfAKilledProcessIsGone) {
  File held;
  ChildProcess child([&](int) {
    held = OpenMode(path_, 16);
    return held.IsOpen() ? 1 : 0;
  });
  ASSERT_EQ(child.Ask(0), 1);
  EXPECT_FALSE(OpenMode(path_, 16));
  child.Kill();
  EXPECT_TRUE(OpenMode(path_, 16));
}

// Runs `work(thread)` on several threads at once, `rounds` times, with `before` and `after` alone.
void Race(int rounds, const std::function<void()>& before, const std::function<void(int)>& work,
          const std::function<void()>& after) {
  constexpr int kThreads = 6;
  std::barrier ready(kThreads + 1);
  const test::Threads threads(kThreads, [&](int thread) {
    for (int round = 0; round < rounds; ++round) {
      ready.arrive_and_wait();
      work(thread);
      ready.arrive_and_wait();
    }
  });
  for (int round = 0; round < rounds; ++round) {
    before();
    ready.arrive_and_wait();
    ready.arrive_and_wait();
    after();
  }
}

// Openers that shut each other out: one gets the file, always, and only one.
TEST_F(ShareModes, OneOfSeveralRacersWins) {
  const std::tuple<const char*, Access, Share> cases[] = {
      {"Exclusive", Access::kReadWrite, kShareNone},
      {"ExclusiveRead", Access::kRead, kShareNone},
      {"WritersSharingRead", Access::kReadWrite, kShareRead},
      {"WritersSharingReadAndDelete", Access::kWrite, kShareReadRemove},
  };
  for (const auto& [name, access, share] : cases) {
    File held[6];
    const auto work = [&, access = access, share = share](int thread) {
      held[thread] = File::Open(path_, access, share, Disposition::kOpenExisting);
    };
    const auto count = [&, name = name] {
      int winners = 0;
      for (File& file : held) {
        winners += file.IsOpen() ? 1 : 0;
        file = File();
      }
      EXPECT_EQ(winners, 1) << name;
    };
    Race(
        500, [] {}, work, count);
  }
}

TEST_F(ShareModes, ANewFileIsNeverSeenFree) {
  unlink(path_.c_str());
  File held[6];
  std::atomic<int> seenFree{0};
  const auto work = [&](int thread) {
    if (thread == 0) {
      for (int i = 0; i < 20; ++i) {
        const File other = File::Open(path_, Access::kRead, kShareAll, Disposition::kOpenExisting);
        if (other) ++seenFree;
      }
      return;
    }
    held[thread] = File::Open(path_, Access::kWrite, kShareNone, Disposition::kCreateNew);
    EXPECT_EQ(held[thread] ? kErrorFileExists : LastError(), kErrorFileExists);
  };
  const auto count = [&] {
    int winners = 0;
    for (File& file : held) {
      if (!file) continue;
      ++winners;
      EXPECT_TRUE(file.RemoveName(path_));
      file = File();
    }
    EXPECT_EQ(winners, 1);
  };
  Race(
      300, [] {}, work, count);
  EXPECT_EQ(seenFree, 0);
}

TEST_F(ShareModes, OneOfSeveralDeletersDeletes) {
  std::atomic<int> deleted{0};
  const auto work = [&](int) {
    if (DeleteFile(path_)) {
      ++deleted;
    } else {
      EXPECT_EQ(LastError(), kErrorFileNotFound);
    }
  };
  Race(
      300,
      [&] {
        WriteBytes(path_, "x");
        deleted = 0;
      },
      work, [&] { EXPECT_EQ(deleted, 1); });
}

constexpr Durability kUnflushed = Durability::kNone;
using Change = bool (*)(const std::string& held, const std::string& other);
const std::pair<const char*, Change> kChanges[] = {
    {"Delete", [](auto& held, auto&) { return DeleteFile(held); }},
    {"RenameAway", [](auto& held, auto&) { return MoveFile(held, held + "2", true); }},
    {"RenameOver", [](auto& held, auto& other) { return MoveFile(other, held, true); }},
    {"CopyOver", [](auto& held, auto& other) { return CopyFile(other, held, true, false); }},
    {"LinkOver", [](auto& held, auto& other) { return LinkFile(other, held, false); }},
    {"WriteOver", [](auto& held, auto&) { return WriteWholeFile(held, "new", true, kUnflushed); }},
};

// Whatever takes the name away asks the holder for deletion.
TEST_F(ShareModes, HoldersKeepTheName) {
  const std::string held = root_ / "held.MAI";
  const std::string other = root_ / "other.MAI";
  for (const auto& [name, change] : kChanges) {
    for (int mode = 0; mode < kModes; ++mode) {
      unlink(held.c_str());
      WriteBytes(held, "old");
      WriteBytes(other, "other");
      const File file = OpenMode(held, mode);
      ASSERT_TRUE(file);
      const bool changed = change(held, other);
      EXPECT_EQ(changed, ShareOf(mode).remove) << name << ", " << Describe(mode);
      if (changed) continue;
      EXPECT_EQ(LastError(), kErrorSharingViolation) << name << ", " << Describe(mode);
      EXPECT_EQ(test::ReadBytes(held), "old");
      EXPECT_EQ(test::ReadBytes(other), "other");
    }
  }
}

TEST_F(ShareModes, AHolderOfTheSourceCanForbidReading) {
  for (int mode = 0; mode < kModes; ++mode) {
    const File file = OpenMode(path_, mode);
    unlink((root_ / "c").c_str());
    EXPECT_EQ(CopyFile(path_, root_ / "b", true, false), ShareOf(mode).read) << Describe(mode);
    EXPECT_EQ(LinkFile(path_, root_ / "c", false), ShareOf(mode).read) << Describe(mode);
  }
}

// A file that was replaced while its opener waited for the processor is not held by mistake.
TEST_F(ShareModes, AHeldFileIsTheOneThatThePathNames) {
  ASSERT_TRUE(WriteWholeFile(path_, "0"));
  std::atomic<bool> stop{false};
  std::thread replacer([&] {
    for (int i = 0; !stop; ++i) {
      (void)WriteWholeFile(path_, std::to_string(i), true, Durability::kNone);
    }
  });
  int held = 0;
  while (held < 2000) {
    const File file = OpenMode(path_, 16);
    if (!file) continue;
    ++held;
    struct stat open = {};
    struct stat named = {};
    ASSERT_EQ(fstat(file.Descriptor(), &open), 0);
    ASSERT_EQ(stat(path_.c_str(), &named), 0);
    ASSERT_EQ(open.st_ino, named.st_ino);
    std::this_thread::yield();
  }
  stop = true;
  replacer.join();
}

TEST_F(ShareModes, RelaxingLetsOthersIn) {
  for (int mode = 0; mode < 8; ++mode) {
    File file = File::Open(path_, Access::kReadWrite, kShareNone, Disposition::kOpenExisting);
    EXPECT_TRUE(file.RelaxShare(ShareOf(mode)));
    ExpectRule(path_, 16 + mode);
    EXPECT_EQ(file.RelaxShare(kShareNone), mode == 0);
  }
}

TEST_F(ShareModes, AnOwnNameCanGoWhileItIsHeld) {
  for (int mode = 0; mode < kModes; ++mode) {
    WriteBytes(path_, "x");
    File file = OpenMode(path_, mode);
    const File other =
        File::Open(path_, Access::kRead, kShareReadWrite, Disposition::kOpenExisting);
    EXPECT_EQ(file.RemoveName(path_), !other) << Describe(mode);
    if (other) {
      EXPECT_EQ(LastError(), kErrorSharingViolation);
      // What the file was claimed for it is claimed for still.
      EXPECT_EQ(DeleteFile(path_), false);
    } else {
      EXPECT_EQ(test::ErrorOf(file.RemoveName(path_)), kErrorFileNotFound);
    }
  }
}

}  // namespace
}  // namespace corvane::platform
