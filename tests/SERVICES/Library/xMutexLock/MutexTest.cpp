// MutexTest.cpp -- system mutexes, their locks, and the exceptions that tell of failures.
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "SERVICES/Library/xMutexLock/Mutex.h"
#include "SERVICES/Library/xMutexLock/xMutexLock.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {
namespace {

class MutexTest : public testing::Test {
 protected:
  MutexTest() {
    setenv("CORVANE_SETTINGS", (directory_ / "settings.db").c_str(), 1);
    mutex_ = std::make_unique<Mutex>("label", "POCTest");
  }

  // Runs `work` while another thread holds the mutex.
  template <typename Work>
  void WhileHeld(Work work) {
    ASSERT_EQ(LockMutex(mutex_->Handle.get(), 0), kMutexLocked);
    std::thread(work).join();
    EXPECT_TRUE(mutex_->Handle->Unlock());
  }
  void Abandon() {
    std::thread([this] { (void)LockMutex(mutex_->Handle.get(), 0); }).join();
  }
  // "Failed to lock mutex 0x...: request timed out" and the like with HANDLE for the handle.
  std::string Lock(std::int64_t timeout) {
    try {
      const xMutexLock lock(mutex_->Handle.get(), timeout);
    } catch (const Exception& exception) {
      EXPECT_EQ(exception.file(), R"(..\SERVICES\Library\xMutexLock)");
      EXPECT_GT(exception.line(), 0);
      EXPECT_EQ(exception.description(), exception.message() + " (" + exception.file() + ":" +
                                             std::to_string(exception.line()) + ")");
      EXPECT_EQ(exception.what(), exception.description());
      char handle[32];
      std::snprintf(handle, sizeof(handle), "%p", static_cast<void*>(mutex_->Handle.get()));
      std::string text = exception.message();
      const std::size_t at = text.find(handle);
      if (at != std::string::npos) text.replace(at, std::string(handle).size(), "HANDLE");
      return text;
    }
    return "locked";
  }

  TemporaryDirectory directory_;
  std::unique_ptr<Mutex> mutex_;
};

TEST_F(MutexTest, LockMutexTellsFourOutcomes) {
  EXPECT_EQ(LockMutex(nullptr, 0), 0);
  WhileHeld([this] { EXPECT_EQ(LockMutex(mutex_->Handle.get(), 0), 2); });
  EXPECT_EQ(LockMutex(mutex_->Handle.get(), platform::kNoTimeLimit), 1);
  EXPECT_TRUE(mutex_->Handle->Unlock());
  Abandon();
  EXPECT_EQ(LockMutex(mutex_->Handle.get(), 0), 3);
  EXPECT_TRUE(mutex_->Handle->Unlock());
}

TEST_F(MutexTest, SameNameIsTheSameMutexAndNoNameIsAnother) {
  Mutex same("other label", "POCTest");
  Mutex nameless("label", nullptr);
  WhileHeld([&] {
    EXPECT_EQ(LockMutex(same.Handle.get(), 0), 2);
    EXPECT_EQ(LockMutex(nameless.Handle.get(), 0), 1);
    EXPECT_TRUE(nameless.Handle->Unlock());
  });
}

TEST_F(MutexTest, MutexLockGivesBackWhatItHolds) {
  {
    MutexLock lock(mutex_.get());
    IMutexLock<Mutex*>& interface = lock;
    EXPECT_EQ(interface.unlock(), 0);
    EXPECT_EQ(interface.lock(), 1);
    EXPECT_EQ(interface.unlock(), 1);
    EXPECT_EQ(interface.lock(), 1);
  }
  std::thread([this] { EXPECT_EQ(Lock(0), "locked"); }).join();
  MutexLock none(nullptr);
  EXPECT_EQ(none.lock(), 0);
}

TEST_F(MutexTest, ScopeLockTellsFailuresByException) {
  EXPECT_NO_THROW({ const xMutexLock lock(nullptr); });
  WhileHeld([this] { EXPECT_EQ(Lock(0), "Failed to lock mutex HANDLE: request timed out"); });
  Abandon();
  EXPECT_EQ(Lock(0), "Mutex HANDLE was abandoned by another thread");
  // Whoever met the dead owner holds nothing, so that the next one, on any thread, gets it.
  std::thread([this] { EXPECT_EQ(Lock(0), "locked"); }).join();
}

TEST_F(MutexTest, FailedUnlockThrowsUnlessAnotherExceptionIsUnderWay) {
  EXPECT_THROW(
      {
        const xMutexLock lock(mutex_->Handle.get());
        EXPECT_TRUE(mutex_->Handle->Unlock());
      },
      Exception);
  EXPECT_THROW(
      {
        const xMutexLock lock(mutex_->Handle.get());
        EXPECT_TRUE(mutex_->Handle->Unlock());
        throw std::runtime_error("first");
      },
      std::runtime_error);
}

TEST(Exception, DescriptionHoldsWhatIsPresent) {
  const std::pair<Exception, const char*> cases[] = {
      {Exception("text"), "text"},
      {Exception("text", "file"), "text (file)"},
      {Exception("text", "file", 12), "text (file:12)"},
      {Exception("", "file", 12), "(file:12)"},
      {Exception("text", "", 12), "text (:12)"},
  };
  for (const auto& [exception, description] : cases) {
    EXPECT_EQ(exception.description(), description);
  }
}

}  // namespace
}  // namespace corvane::test
