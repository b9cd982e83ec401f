// Opens against opens: between threads, processes, and against deletes, renames and replacements.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <barrier>
#include <functional>
#include <thread>
#include <vector>

#include "platform/Error.h"
#include "platform/File.h"
#include "platform/FileSystem.h"
#include "platform/WholeFile.h"
#include "tests/support/AsNobody.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::platform {
namespace {

using test::ChildProcess;
using test::TemporaryDirectory;
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

TEST(ShareModes, HoldBetweenThreads) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  WriteBytes(path, "x");
  for (int holder = 0; holder < kModes; ++holder) {
    const File held = OpenMode(path, holder);
    ASSERT_TRUE(held) << Describe(holder);
    std::thread([&] {
      for (int opener = 0; opener < kModes; ++opener) {
        const bool opened = OpenMode(path, opener).IsOpen();
        EXPECT_EQ(opened, GoTogether(holder, opener))
            << Describe(holder) << ", " << Describe(opener);
        EXPECT_EQ(opened ? kErrorSharingViolation : LastError(), kErrorSharingViolation);
      }
    }).join();
  }
}

TEST(ShareModes, HoldBetweenProcesses) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  WriteBytes(path, "x");
  File held;
  ChildProcess child([&](int mode) {
    held = File();
    held = OpenMode(path, mode);
    return held.IsOpen() ? 1 : 0;
  });
  for (int holder = 0; holder < kModes; ++holder) {
    ASSERT_EQ(child.Ask(holder), 1);
    for (int opener = 0; opener < kModes; ++opener) {
      EXPECT_EQ(OpenMode(path, opener).IsOpen(), GoTogether(holder, opener))
          << Describe(holder) << ", " << Describe(opener);
    }
  }
}

// Where the file can't be opened for writing, exclusive locks aren't to be had.
TEST(ShareModes, HoldOnReadOnlyFiles) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  WriteBytes(path, "x");
  ASSERT_EQ(chmod(path.c_str(), 0444), 0);
  ASSERT_EQ(chmod(root.Path().c_str(), 0755), 0);
  const test::AsNobody nobody;
  for (int holder = 0; holder < 8; ++holder) {
    const File held = OpenMode(path, holder);
    ASSERT_TRUE(held) << Describe(holder);
    for (int opener = 0; opener < 8; ++opener) {
      EXPECT_EQ(OpenMode(path, opener).IsOpen(), GoTogether(holder, opener))
          << Describe(holder) << ", " << Describe(opener);
    }
  }
  EXPECT_FALSE(File::Open(path, Access::kWrite, kShareAll, Disposition::kOpenExisting));
  EXPECT_EQ(LastError(), kErrorAccessDenied);
}

TEST(ShareModes, ThreeHoldersAreAllAsked) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  WriteBytes(path, "x");
  const File one = File::Open(path, Access::kRead, kShareAll, Disposition::kOpenExisting);
  File two = File::Open(path, Access::kRead, kShareReadRemove, Disposition::kOpenExisting);
  const File three = File::Open(path, Access::kRead, kShareAll, Disposition::kOpenExisting);
  EXPECT_FALSE(File::Open(path, Access::kWrite, kShareAll, Disposition::kOpenExisting));
  EXPECT_TRUE(two.Close());
  EXPECT_TRUE(File::Open(path, Access::kWrite, kShareAll, Disposition::kOpenExisting));
}

TEST(ShareModes, TheClaimOfAKilledProcessIsGone) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  WriteBytes(path, "x");
  File held;
  ChildProcess child([&](int) {
    held = OpenMode(path, 16);
    return held.IsOpen() ? 1 : 0;
  });
  ASSERT_EQ(child.Ask(0), 1);
  EXPECT_FALSE(OpenMode(path, 16));
  child.Kill();
  EXPECT_TRUE(OpenMode(path, 16));
}

// Runs `work(thread)` on several threads at once, `rounds` times, with `before` and `after` alone.
void Race(int rounds, const std::function<void()>& before, const std::function<void(int)>& work,
          const std::function<void()>& after) {
  constexpr int kThreads = 6;
  std::barrier ready(kThreads + 1);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (int round = 0; round < rounds; ++round) {
        ready.arrive_and_wait();
        work(thread);
        ready.arrive_and_wait();
      }
    });
  }
  for (int round = 0; round < rounds; ++round) {
    before();
    ready.arrive_and_wait();
    ready.arrive_and_wait();
    after();
  }
  for (std::thread& thread : threads) thread.join();
}

// Openers that shut each other out: one gets the file, always, and only one.
TEST(ShareModes, OneOfSeveralRacersWins) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  WriteBytes(path, "x");
  struct Case {
    const char* name;
    Access access;
    Share share;
  };
  const Case cases[] = {
      {"Exclusive", Access::kReadWrite, kShareNone},
      {"ExclusiveRead", Access::kRead, kShareNone},
      {"WritersSharingRead", Access::kReadWrite, kShareRead},
      {"WritersSharingReadAndDelete", Access::kWrite, kShareReadRemove},
  };
  for (const Case& c : cases) {
    File held[6];
    const auto work = [&](int thread) {
      held[thread] = File::Open(path, c.access, c.share, Disposition::kOpenExisting);
    };
    const auto count = [&] {
      int winners = 0;
      for (File& file : held) {
        winners += file.IsOpen() ? 1 : 0;
        file = File();
      }
      EXPECT_EQ(winners, 1) << c.name;
    };
    Race(
        500, [] {}, work, count);
  }
}

TEST(ShareModes, ANewFileIsNeverSeenFree) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  File held[6];
  std::atomic<int> seenFree{0};
  const auto work = [&](int thread) {
    if (thread == 0) {
      for (int i = 0; i < 20; ++i) {
        const File other = File::Open(path, Access::kRead, kShareAll, Disposition::kOpenExisting);
        if (other) ++seenFree;
      }
      return;
    }
    held[thread] = File::Open(path, Access::kWrite, kShareNone, Disposition::kCreateNew);
    EXPECT_EQ(held[thread] ? kErrorFileExists : LastError(), kErrorFileExists);
  };
  const auto count = [&] {
    int winners = 0;
    for (File& file : held) {
      if (!file) continue;
      ++winners;
      EXPECT_TRUE(file.RemoveName(path));
      file = File();
    }
    EXPECT_EQ(winners, 1);
  };
  Race(
      300, [] {}, work, count);
  EXPECT_EQ(seenFree, 0);
}

TEST(ShareModes, OneOfSeveralDeletersDeletes) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  std::atomic<int> deleted{0};
  const auto work = [&](int) {
    if (DeleteFile(path)) {
      ++deleted;
    } else {
      EXPECT_EQ(LastError(), kErrorFileNotFound);
    }
  };
  Race(
      300,
      [&] {
        WriteBytes(path, "x");
        deleted = 0;
      },
      work, [&] { EXPECT_EQ(deleted, 1); });
}

struct Change {
  const char* name;
  bool (*apply)(const std::string& held, const std::string& other);
};
const Change kChanges[] = {
    {"Delete", [](const std::string& held, const std::string&) { return DeleteFile(held); }},
    {"RenameAway",
     [](const std::string& held, const std::string&) { return MoveFile(held, held + "2", true); }},
    {"RenameOver",
     [](const std::string& held, const std::string& other) { return MoveFile(other, held, true); }},
    {"CopyOver", [](const std::string& held,
                    const std::string& other) { return CopyFile(other, held, true, false); }},
    {"LinkOver", [](const std::string& held,
                    const std::string& other) { return LinkFile(other, held, false); }},
    {"WriteOver",
     [](const std::string& held, const std::string&) {
       return WriteWholeFile(held, "new", true, Durability::kNone);
     }},
};

// Whatever takes the name away asks the holder for deletion.
TEST(ShareModes, HoldersKeepTheName) {
  const TemporaryDirectory root;
  const std::string held = root / "held.MAI";
  const std::string other = root / "other.MAI";
  for (const Change& change : kChanges) {
    for (int mode = 0; mode < kModes; ++mode) {
      unlink(held.c_str());
      WriteBytes(held, "old");
      WriteBytes(other, "other");
      const File file = OpenMode(held, mode);
      ASSERT_TRUE(file);
      const bool changed = change.apply(held, other);
      EXPECT_EQ(changed, ShareOf(mode).remove) << change.name << ", " << Describe(mode);
      if (changed) continue;
      EXPECT_EQ(LastError(), kErrorSharingViolation) << change.name << ", " << Describe(mode);
      EXPECT_EQ(test::ReadBytes(held), "old");
      EXPECT_EQ(test::ReadBytes(other), "other");
    }
  }
}

TEST(ShareModes, AHolderOfTheSourceCanForbidReading) {
  const TemporaryDirectory root;
  WriteBytes(root / "a", "x");
  for (int mode = 0; mode < kModes; ++mode) {
    const File file = OpenMode(root / "a", mode);
    unlink((root / "c").c_str());
    EXPECT_EQ(CopyFile(root / "a", root / "b", true, false), ShareOf(mode).read) << Describe(mode);
    EXPECT_EQ(LinkFile(root / "a", root / "c", false), ShareOf(mode).read) << Describe(mode);
  }
}

// A file that was replaced while its opener waited for the processor is not held by mistake.
TEST(ShareModes, AHeldFileIsTheOneThatThePathNames) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  ASSERT_TRUE(WriteWholeFile(path, "0"));
  std::atomic<bool> stop{false};
  std::thread replacer([&] {
    for (int i = 0; !stop; ++i) {
      (void)WriteWholeFile(path, std::to_string(i), true, Durability::kNone);
    }
  });
  int held = 0;
  while (held < 2000) {
    const File file = OpenMode(path, 16);
    if (!file) continue;
    ++held;
    struct stat open = {};
    struct stat named = {};
    ASSERT_EQ(fstat(file.Descriptor(), &open), 0);
    ASSERT_EQ(stat(path.c_str(), &named), 0);
    ASSERT_EQ(open.st_ino, named.st_ino);
    std::this_thread::yield();
  }
  stop = true;
  replacer.join();
}

TEST(ShareModes, RelaxingLetsOthersIn) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  WriteBytes(path, "x");
  for (int mode = 0; mode < 8; ++mode) {
    File file = File::Open(path, Access::kReadWrite, kShareNone, Disposition::kOpenExisting);
    EXPECT_TRUE(file.RelaxShare(ShareOf(mode)));
    for (int opener = 0; opener < kModes; ++opener) {
      EXPECT_EQ(OpenMode(path, opener).IsOpen(), GoTogether(16 + mode, opener))
          << Describe(mode) << ", " << Describe(opener);
    }
    EXPECT_EQ(file.RelaxShare(kShareNone), mode == 0);
  }
}

TEST(ShareModes, AnOwnNameCanGoWhileItIsHeld) {
  const TemporaryDirectory root;
  const std::string path = root / "0.MAI";
  for (int mode = 0; mode < kModes; ++mode) {
    WriteBytes(path, "x");
    File file = OpenMode(path, mode);
    const File other = File::Open(path, Access::kRead, kShareReadWrite, Disposition::kOpenExisting);
    EXPECT_EQ(file.RemoveName(path), !other) << Describe(mode);
    if (other) {
      EXPECT_EQ(LastError(), kErrorSharingViolation);
      // What the file was claimed for it is claimed for still.
      EXPECT_EQ(DeleteFile(path), false);
    } else {
      EXPECT_FALSE(file.RemoveName(path));
      EXPECT_EQ(LastError(), kErrorFileNotFound);
    }
  }
}

}  // namespace
}  // namespace corvane::platform
