// ThreadTest.cpp -- threads that are kept for further work.
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <set>
#include <thread>

#include "platform/Thread.h"
#include "tests/support/ErrorOf.h"

namespace corvane::platform {
namespace {

// Runs `work` on a started thread and waits for it. The latch outlives this wait: the thread may
// still be in its call when the waiter goes on.
void RunOnThread(std::size_t stackBytes, const std::function<void()>& work) {
  const auto done = std::make_shared<std::latch>(1);
  ASSERT_TRUE(StartThread(stackBytes, [work, done] {
    work();
    done->count_down();
  }));
  done->wait();
}

TEST(Thread, FinishedThreadsTakeTheNextWork) {
  constexpr int kStarts = 200;
  std::set<std::int32_t> threads;
  for (int i = 0; i < kStarts; ++i) {
    RunOnThread(kWorkerStackBytes, [&] { threads.insert(CurrentThreadId()); });
  }
  // A thread may still be on its way to its rest when the next work comes.
  EXPECT_LT(threads.size(), kStarts / 2U);
}

TEST(Thread, AllStartedWorkRunsAtOnce) {
  constexpr int kThreads = 100;
  for (int round = 0; round < 3; ++round) {
    const auto together = std::make_shared<std::latch>(kThreads + 1);
    std::atomic<int> passed{0};
    const auto done = std::make_shared<std::latch>(kThreads);
    for (int i = 0; i < kThreads; ++i) {
      ASSERT_TRUE(StartThread(256 * 1024, [&passed, together, done] {
        together->arrive_and_wait();
        ++passed;
        done->count_down();
      }));
    }
    together->arrive_and_wait();
    done->wait();
    EXPECT_EQ(passed, kThreads);
  }
}

// Touches `kilobytes` of the stack.
__attribute__((noinline)) int UseStack(int kilobytes) {
  volatile char block[1024];
  for (volatile char& byte : block) byte = static_cast<char>(kilobytes);
  const int below = kilobytes > 1 ? UseStack(kilobytes - 1) : 0;
  return below + (block[512] != 0 ? 1 : 1);
}

TEST(Thread, StackHoldsWhatWasAskedForAndSmallOnesAreNotHandedToLargeWork) {
  RunOnThread(256 * 1024, [] {});
  int used = 0;
  RunOnThread(kWorkerStackBytes, [&] { used = UseStack(2500); });
  EXPECT_EQ(used, 2500);
}

TEST(Thread, EachWorkBeginsWithoutAnError) {
  for (int i = 0; i < 20; ++i) {
    std::int32_t before = -1;
    RunOnThread(kWorkerStackBytes, [&] {
      before = LastError();
      SetLastError(kErrorSharingViolation);
    });
    EXPECT_EQ(before, kErrorNone);
  }
}

TEST(Thread, WorkIsDestroyedWhenItIsDone) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = held;
  RunOnThread(kWorkerStackBytes, [held = std::move(held)] {});
  while (!watch.expired()) std::this_thread::yield();
}

TEST(Thread, ImpossibleStackIsRefused) {
  EXPECT_EQ(test::ErrorOf(StartThread(std::size_t{1} << 60, [] {})), kErrorNotEnoughMemory);
}

}  // namespace
}  // namespace corvane::platform
