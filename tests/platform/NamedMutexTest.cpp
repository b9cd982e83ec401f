// NamedMutexTest.cpp -- named mutexes between threads and processes, and what dead owners leave.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

#include "platform/NamedMutex.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/InDirectory.h"

namespace corvane::platform {
namespace {

// Takes the mutex and keeps it; 1 when that worked.
int LockForGood(std::unique_ptr<NamedMutex> mutex) {
  const bool locked = mutex && mutex->Lock(kNoTimeLimit) == LockOutcome::kLocked;
  (void)mutex.release();
  return locked ? 1 : 0;
}

LockOutcome LockOnAnotherThread(NamedMutex& mutex, std::int64_t timeout) {
  LockOutcome outcome = LockOutcome::kFailed;
  std::thread([&] {
    outcome = mutex.Lock(timeout);
    if (outcome == LockOutcome::kLocked || outcome == LockOutcome::kAbandoned) mutex.Unlock();
  }).join();
  return outcome;
}

class NamedMutexTest : public test::InDirectory {
 protected:
  NamedMutexTest() { setenv("CORVANE_SETTINGS", (root_ / "settings.db").c_str(), 1); }
  ~NamedMutexTest() override { unsetenv("CORVANE_SETTINGS"); }
};

TEST_F(NamedMutexTest, ThreadsOfProcessesThatStartTogetherExcludeEachOther) {
  constexpr int kTurns = 1000;
  void* memory = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  auto* count = static_cast<volatile std::int64_t*>(memory);  // two at once would lose turns
  const auto work = [count] {
    const auto mutex = NamedMutex::Create("counted");
    for (int turn = 0; turn < kTurns; ++turn) {
      if (mutex->Lock(kNoTimeLimit) != LockOutcome::kLocked) _exit(1);
      *count = *count + 1;
      if (!mutex->Unlock()) _exit(2);
    }
  };
  std::vector<pid_t> processes;
  for (int i = 0; i < 3; ++i) {
    processes.push_back(fork());
    if (processes.back() != 0) continue;
    std::thread other(work);
    work();
    other.join();
    _exit(0);
  }
  for (const pid_t process : processes) {
    int status = -1;
    waitpid(process, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(*count, 6 * kTurns);
  (void)NamedMutex::Create("counted");  // and its file goes
  munmap(memory, 4096);
}

TEST_F(NamedMutexTest, HolderLocksAgainAndOthersTimeOutUntilTheLastUnlock) {
  const auto mutex = NamedMutex::Create("recursive");
  ASSERT_EQ(mutex->Lock(kNoTimeLimit), LockOutcome::kLocked);
  ASSERT_EQ(mutex->Lock(0), LockOutcome::kLocked);
  EXPECT_EQ(LockOnAnotherThread(*mutex, 0), LockOutcome::kTimedOut);
  EXPECT_TRUE(mutex->Unlock());
  EXPECT_EQ(LockOnAnotherThread(*mutex, 10), LockOutcome::kTimedOut);
  EXPECT_TRUE(mutex->Unlock());
  EXPECT_EQ(LockOnAnotherThread(*mutex, 10), LockOutcome::kLocked);
  SetLastError(0);
  EXPECT_EQ(test::ErrorOf(mutex->Unlock()), 288);
}

TEST_F(NamedMutexTest, KilledOwnerLeavesItAbandonedOnce) {
  const auto mutex = NamedMutex::Create("killed");
  test::ChildProcess child([](int) { return LockForGood(NamedMutex::Open("killed")); });
  EXPECT_EQ(child.Ask(0), 1);
  EXPECT_EQ(child.Ask(0), 1) << "its own, once more";
  EXPECT_EQ(mutex->Lock(0), LockOutcome::kTimedOut);
  child.Kill();
  EXPECT_EQ(mutex->Lock(kNoTimeLimit), LockOutcome::kAbandoned);
  EXPECT_TRUE(mutex->Unlock());
  EXPECT_EQ(LockOnAnotherThread(*mutex, 0), LockOutcome::kLocked);
}

TEST_F(NamedMutexTest, EndedThreadLeavesItAbandoned) {
  const auto mutex = NamedMutex::Create("ended");
  std::thread([&] { ASSERT_EQ(mutex->Lock(0), LockOutcome::kLocked); }).join();
  EXPECT_EQ(mutex->Lock(0), LockOutcome::kAbandoned);
  EXPECT_TRUE(mutex->Unlock());
}

// As after the death of all programs that used a name: the next one starts anew.
TEST_F(NamedMutexTest, NameThatOnlyDeadProcessesHadIsNew) {
  test::ChildProcess child([](int) { return LockForGood(NamedMutex::Create("left")); });
  EXPECT_EQ(child.Ask(0), 1);
  EXPECT_NE(NamedMutex::Open("left"), nullptr);
  child.Kill();
  SetLastError(0);
  EXPECT_EQ(NamedMutex::Open("left"), nullptr);
  EXPECT_EQ(LastError(), kErrorFileNotFound);
  EXPECT_EQ(NamedMutex::Create("left")->Lock(0), LockOutcome::kLocked);
}

TEST_F(NamedMutexTest, OpenFindsWhatSomebodyHasOnly) {
  EXPECT_EQ(NamedMutex::Open(R"(Global\a/b c)"), nullptr);
  auto mutex = NamedMutex::Create(R"(Global\a/b c)");
  EXPECT_NE(NamedMutex::Open(R"(Global\a/b c)"), nullptr);
  EXPECT_EQ(NamedMutex::Open("Global"), nullptr);
  mutex.reset();
  EXPECT_EQ(NamedMutex::Open(R"(Global\a/b c)"), nullptr);
}

TEST_F(NamedMutexTest, InstallationsDoNotMeet) {
  const auto here = NamedMutex::Create("POCDebugLog");
  ASSERT_EQ(here->Lock(0), LockOutcome::kLocked);
  setenv("CORVANE_SETTINGS", (root_ / "another.db").c_str(), 1);
  const auto there = NamedMutex::Create("POCDebugLog");
  EXPECT_EQ(LockOnAnotherThread(*there, 0), LockOutcome::kLocked);
  EXPECT_TRUE(here->Unlock());
}

// Another process sees it; this one would lock it again.
TEST_F(NamedMutexTest, LastHandleThatGoesGivesItsLockBack) {
  auto first = NamedMutex::Create("gone");
  auto second = NamedMutex::Open("gone");
  const auto lockElsewhere = [] {
    return test::RunInChild(
        [] { return NamedMutex::Create("gone")->Lock(0) == LockOutcome::kLocked ? 1 : 2; });
  };
  ASSERT_EQ(second->Lock(0), LockOutcome::kLocked);
  second.reset();
  EXPECT_EQ(lockElsewhere(), 2);
  first.reset();
  EXPECT_EQ(lockElsewhere(), 1);
}

TEST_F(NamedMutexTest, HandleThatGoesUnderAnotherThreadsLockLeavesItHeld) {
  std::latch locked(1);
  std::latch gone(1);
  auto mutex = NamedMutex::CreateUnnamed();
  NamedMutex* handle = mutex.get();
  std::thread holder([&] {
    EXPECT_EQ(handle->Lock(0), LockOutcome::kLocked);
    locked.count_down();
    gone.wait();
  });
  locked.wait();
  mutex.reset();
  gone.count_down();
  holder.join();
}

TEST_F(NamedMutexTest, NamelessOnesAreApart) {
  const auto first = NamedMutex::CreateUnnamed();
  const auto second = NamedMutex::CreateUnnamed();
  ASSERT_EQ(first->Lock(0), LockOutcome::kLocked);
  EXPECT_EQ(LockOnAnotherThread(*first, 0), LockOutcome::kTimedOut);
  EXPECT_EQ(LockOnAnotherThread(*second, 0), LockOutcome::kLocked);
}

}  // namespace
}  // namespace corvane::platform
