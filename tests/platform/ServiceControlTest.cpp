// ServiceControlTest.cpp -- words to the service manager, stop signals, its tools.
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "platform/ServiceControl.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/ServiceManagerSocket.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::platform {
namespace {

TEST(ServiceControl, ManagerHearsEachState) {
  const test::TemporaryDirectory directory;
  for (const std::string& name :
       {directory / "notify", "@corvane-test-" + std::to_string(getpid())}) {
    test::ServiceManagerSocket manager(name);
    EXPECT_TRUE(HasServiceManager());
    EXPECT_TRUE(TellServiceManager("READY=1\nSTATUS=Running"));
    EXPECT_EQ(manager.Next(), "READY=1\nSTATUS=Running");
  }
}

TEST(ServiceControl, ManagerThatDoesNotListenHoldsNobodyUp) {
  const test::TemporaryDirectory directory;
  test::ServiceManagerSocket manager(directory / "notify");
  const std::string state(100, 'x');
  int sent = 0;
  while (sent < 100'000 && TellServiceManager(state)) ++sent;
  EXPECT_GT(sent, 0);
  EXPECT_LT(sent, 100'000) << "the socket is never full";
}

TEST(ServiceControl, WithoutAManagerNothingIsSent) {
  unsetenv("NOTIFY_SOCKET");
  EXPECT_FALSE(HasServiceManager());
  EXPECT_FALSE(TellServiceManager("READY=1"));
  setenv("NOTIFY_SOCKET", "/nonexistent/notify", 1);
  EXPECT_EQ(test::ErrorOf(TellServiceManager("READY=1")), kErrorFileNotFound);
  unsetenv("NOTIFY_SOCKET");
}

// In a process of its own: signals are the process's, and no other thread may be there to take one.
[[noreturn]] void StopBySignal(int signalNumber) {
  std::atomic<int> seen{0};
  if (!OnStopSignal([&](int number) { seen = number; })) _exit(1);
  kill(getpid(), signalNumber);
  while (seen == 0) std::this_thread::yield();
  _exit(seen == signalNumber ? 7 : 2);
}

[[noreturn]] void SignalTwice() {
  static std::atomic<bool> stopping{false};
  const auto hang = [](int) {
    stopping = true;
    for (;;) std::this_thread::yield();
  };
  if (!OnStopSignal(hang, [] { _exit(9); })) _exit(1);
  kill(getpid(), SIGINT);
  while (!stopping) std::this_thread::yield();
  kill(getpid(), SIGINT);
  for (;;) std::this_thread::yield();
}

TEST(ServiceControlDeathTest, StopSignalsCallTheStopAndDoNotEndTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(StopBySignal(SIGTERM), testing::ExitedWithCode(7), "");
  EXPECT_EXIT(StopBySignal(SIGINT), testing::ExitedWithCode(7), "");
  EXPECT_EXIT(SignalTwice(), testing::ExitedWithCode(9), "");
}

TEST(ServiceControl, ToolsTellTheirOutputAndExitCode) {
  const auto result = RunServiceTool("sh", {"-c", "echo \"$0 $1\"; cat; exit 3", "a b", "c"});
  ASSERT_TRUE(result);
  EXPECT_EQ(result->output, "a b c\n");
  EXPECT_EQ(result->exitCode, 3);
  EXPECT_EQ(test::ErrorOf(RunServiceTool("/nonexistent/tool", {})), kErrorFileNotFound);
}

}  // namespace
}  // namespace corvane::platform
