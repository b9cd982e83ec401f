// ServiceRunTest.cpp -- the order of start and stop, state reports, command line, installation.
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "connector/service/ServiceHost.h"
#include "connector/service/ServiceInstall.h"
#include "connector/service/ServiceRun.h"
#include "connector/settings/ProcessState.h"
#include "platform/Machine.h"
#include "tests/support/HeardEvents.h"
#include "tests/support/ServiceManagerSocket.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TestClock.h"

namespace corvane {
namespace {

using settings::StopFlag;
using settings::StoppedFlag;

std::mutex recordMutex;
std::vector<std::string> record;

void Note(const std::string& text) {
  const std::lock_guard lock(recordMutex);
  record.push_back(text);
}

// Polls as the real one does: until the flag.
ServiceHooks RecordingHooks() {
  return {[] { Note("load"); },
          [] {
            Note("poll");
            while (StopFlag() == 0) std::this_thread::yield();
            Note("polled");
          },
          [] { Note("unload after " + std::to_string(platform::CurrentClock().Milliseconds())); }};
}

class ServiceRunTest : public testing::Test {
 protected:
  ServiceRunTest() {
    setenv("CORVANE_SETTINGS", (directory_ / "settings.db").c_str(), 1);
    record.clear();
  }
  ~ServiceRunTest() override {
    StopFlag() = 0;
    StoppedFlag() = 0;
    unsetenv("CORVANE_SETTINGS");
  }

  test::TemporaryDirectory directory_;
  test::TestClock clock_{0};
};

TEST_F(ServiceRunTest, StopRunsBesideThePollerAndWaitsTwoSeconds) {
  ServiceRun run(RecordingHooks(), true);
  StopFlag() = 1;  // of an earlier life
  std::thread stopper([&] {
    const auto polls = [] {
      const std::lock_guard lock(recordMutex);
      return record.size() >= 2;
    };
    while (!polls()) std::this_thread::yield();
    run.StopRoutine();
  });
  run.RunToTheEnd();
  EXPECT_EQ(run.WaitForEnd(), 0);
  stopper.join();
  EXPECT_EQ(StoppedFlag(), 1);
  ASSERT_EQ(record.size(), 4U);
  EXPECT_EQ(record[0], "load");
  EXPECT_EQ(record[1], "poll");
  const bool polledFirst = record[2] == "polled";
  EXPECT_EQ(record[polledFirst ? 3 : 2], "unload after 2000");
  EXPECT_EQ(record[polledFirst ? 2 : 3], "polled");
}

TEST_F(ServiceRunTest, StopDuringTheLoadStartsNoPoller) {
  ServiceHooks hooks = RecordingHooks();
  ServiceRun* stopping = nullptr;
  hooks.loadSettings = [&stopping] {
    Note("load");
    stopping->StopRoutine();
    StopFlag() = 0;  // as the load does at its end
    StoppedFlag() = 0;
  };
  ServiceRun run(hooks, true);
  stopping = &run;
  run.RunToTheEnd();
  EXPECT_EQ(run.WaitForEnd(), 0);
  EXPECT_EQ(record, (std::vector<std::string>{"load", "unload after 2000"}));
  EXPECT_EQ(StopFlag(), 1);
  EXPECT_EQ(StoppedFlag(), 1);
}

void PollAndFail() { throw std::runtime_error("no queue"); }

TEST_F(ServiceRunTest, ExceptionStopsTheRunInOrder) {
  ServiceHooks hooks = RecordingHooks();
  hooks.poll = PollAndFail;
  ServiceRun run(hooks, true);
  run.RunToTheEnd();
  EXPECT_EQ(run.WaitForEnd(), 1);
  EXPECT_EQ(record, (std::vector<std::string>{"load", "unload after 2000"}));
  EXPECT_EQ(StoppedFlag(), 1);
}

// Whoever hears of the end finds the flag set.
TEST_F(ServiceRunTest, TheStoppedFlagIsSetBeforeStoppedIsReportedAndASecondStopDoesNothing) {
  unsetenv("NOTIFY_SOCKET");
  platform::SetEventListener(  // each report fails and comes here
      [](void*, std::string_view, platform::EventType, std::uint32_t, std::string_view,
         std::string_view) { Note("reported at " + std::to_string(StoppedFlag())); },
      nullptr);
  ServiceRun run(RecordingHooks(), false);
  run.StopRoutine();
  run.StopRoutine();
  platform::SetEventListener(nullptr, nullptr);
  EXPECT_EQ(record,
            (std::vector<std::string>{"reported at 0", "unload after 2000", "reported at 1"}));
  EXPECT_EQ(clock_.Slept(), 2000);
}

struct StateCase {
  ServiceState state;
  std::int32_t waitHint, checkPoint, controls;
  const char* told;
};
const StateCase kStates[] = {
    {ServiceState::kStartPending, 3000, 1, 0, "STATUS=Starting\nEXTEND_TIMEOUT_USEC=3000000"},
    {ServiceState::kRunning, 0, 0, 1, "READY=1\nSTATUS=Running"},
    {ServiceState::kStopPending, 0, 2, 1, "STOPPING=1\nSTATUS=Stopping"},
    {ServiceState::kStopPending, 5000, 3, 1,
     "STOPPING=1\nSTATUS=Stopping\nEXTEND_TIMEOUT_USEC=5000000"},
    {ServiceState::kStopped, 0, 0, 1, "STOPPING=1\nSTATUS=Stopped"},
};

TEST_F(ServiceRunTest, ManagerHearsEachStateAndTheCheckpointGrows) {
  const test::ServiceManagerSocket manager(directory_ / "notify");
  ServiceStatus status(false);
  for (const StateCase& row : kStates) {
    status.ReportStatus(row.state, 0, row.waitHint);
    EXPECT_EQ(manager.Next(), row.told);
    EXPECT_EQ(status.Record().CheckPoint, row.checkPoint);
    EXPECT_EQ(status.Record().ControlsAccepted, row.controls);
  }
  ServiceStatus console(true);
  console.ReportStatus(ServiceState::kRunning, 0, 0);
  EXPECT_EQ(manager.Next(), "nothing");
}

TEST_F(ServiceRunTest, ReportThatFailsGoesToTheEventLog) {
  const test::HeardEvents heard;
  unsetenv("NOTIFY_SOCKET");
  ServiceStatus(false).ReportStatus(ServiceState::kRunning, 0, 0);
  ASSERT_EQ(heard.all.size(), 1U);
  EXPECT_EQ(heard.all[0].source, "Service Control Manager");
  EXPECT_EQ(heard.all[0].id, 1U);
  EXPECT_EQ(heard.all[0].text, "SetServiceStatus");
}

// The whole program, in a process of its own.
[[noreturn]] void RunProgram(std::vector<const char*> arguments, void (*poll)()) {
  const test::TestClock clock;
  arguments.insert(arguments.begin(), "CorvanePOConnector");
  ServiceHooks hooks = RecordingHooks();
  hooks.poll = poll;
  const int result = RunServiceHost(static_cast<int>(arguments.size()),
                                    const_cast<char**>(arguments.data()), hooks);
  _exit(result);
}

void PollUntilTerminated() {
  kill(getpid(), SIGTERM);
  while (StopFlag() == 0) std::this_thread::yield();
}

// As a poller does that is in the middle of a long wait.
void PollForEver() {
  kill(getpid(), SIGTERM);
  for (;;) std::this_thread::yield();
}

// The stop routine hangs in its wait, as the clock stands; another signal comes.
void PollUntilTheSecondSignal() {
  class StandingClock : public test::TestClock {
    void Sleep(std::int64_t) override {
      kill(getpid(), SIGINT);
      for (;;) std::this_thread::yield();
    }
  };
  static StandingClock clock;
  PollForEver();
}

TEST(ServiceHostDeathTest, EachWayToRun) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  unsetenv("NOTIFY_SOCKET");
  const testing::ExitedWithCode well(0);
  const testing::ExitedWithCode badly(1);
  EXPECT_EXIT(RunProgram({"-debug"}, PollUntilTerminated), well, "");
  EXPECT_EXIT(RunProgram({"/DeBuG", "x"}, PollUntilTerminated), well, "");
  EXPECT_EXIT(RunProgram({"-debug"}, PollForEver), well, "");
  EXPECT_EXIT(RunProgram({"-debug"}, PollUntilTheSecondSignal), well, "");
  EXPECT_EXIT(RunProgram({"-debug"}, PollAndFail), badly, "");
  EXPECT_EXIT(RunProgram({}, PollUntilTerminated), badly, "not started by the service manager");
  EXPECT_EXIT(RunProgram({"debug"}, PollUntilTerminated), badly,
              "CorvanePOConnector -debug <params>   to run as a console app for debugging");
}

// A systemctl that notes its words in a file and says that the service is `state`, then inactive.
void FakeControlProgram(const std::string& path, const std::string& state, int exitOfEnable = 0) {
  test::WriteBytes(path, "#!/bin/sh\necho \"$@\" >> " + path + ".log\ncase $1 in\nenable) exit " +
                             std::to_string(exitOfEnable) + ";;\nis-active)\n[ -e " + path +
                             ".stopped ] && echo inactive || echo " + state + ";;\nstop) touch " +
                             path + ".stopped;;\nesac\nexit 0\n");
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

class ServiceInstallTest : public ServiceRunTest {
 protected:
  ServiceInstallTest() { unsetenv("CORVANE_SETTINGS"); }
  template <typename Work>
  std::string Printed(Work work) {
    testing::internal::CaptureStdout();
    work(place_);
    return testing::internal::GetCapturedStdout();
  }

  ServiceManagerPlace place_{directory_.Path(), directory_ / "systemctl"};
  const std::string unit_ = directory_ / "CVPOCS.service";
  const std::string log_ = directory_ / "systemctl.log";
};

TEST_F(ServiceInstallTest, InstallsOnceAndRemovesARunningService) {
  FakeControlProgram(place_.controlProgram, "active");
  EXPECT_EQ(Printed(InstallService), "Corvane Postoffice Connector installed.\n");
  EXPECT_EQ(test::ReadBytes(unit_), ServiceUnit(platform::ProgramPath(), ""));
  EXPECT_EQ(Printed(InstallService),
            "CreateService failed - The specified service already exists. (0x431)\n");
  EXPECT_EQ(Printed(RemoveService),
            "Stopping Corvane Postoffice Connector.\nCorvane Postoffice Connector stopped.\n"
            "Corvane Postoffice Connector removed.\n");
  EXPECT_FALSE(std::filesystem::exists(unit_));
  EXPECT_EQ(test::ReadBytes(log_),
            "--version\ndaemon-reload\nenable CVPOCS.service\n--version\n--version\n"
            "is-active CVPOCS.service\nstop --no-block CVPOCS.service\nis-active CVPOCS.service\n"
            "disable CVPOCS.service\ndaemon-reload\n");
}

TEST_F(ServiceInstallTest, NamesTheStoreFromTheRoot) {
  FakeControlProgram(place_.controlProgram, "inactive");
  setenv("CORVANE_SETTINGS", "sub/../settings.db", 1);
  EXPECT_EQ(Printed(InstallService), "Corvane Postoffice Connector installed.\n");
  EXPECT_EQ(test::ReadBytes(unit_),
            ServiceUnit(platform::ProgramPath(),
                        (std::filesystem::current_path() / "settings.db").string()));
}

TEST_F(ServiceInstallTest, StopsAServiceInEveryStateWithAProcess) {
  const std::string removed = "Corvane Postoffice Connector removed.\n";
  const std::string stopped =
      "Stopping Corvane Postoffice Connector.\nCorvane Postoffice Connector stopped.\n" + removed;
  const std::pair<const char*, std::string> cases[] = {{"activating", stopped},
                                                       {"reloading", stopped},
                                                       {"deactivating", stopped},
                                                       {"inactive", removed}};
  for (const auto& [state, told] : cases) {
    FakeControlProgram(place_.controlProgram, state);
    std::filesystem::remove(place_.controlProgram + ".stopped");
    test::WriteBytes(unit_, "");
    EXPECT_EQ(Printed(RemoveService), told) << state;
  }
  EXPECT_EQ(Printed(RemoveService),
            "OpenService failed - The specified service does not exist as an installed service. "
            "(0x424)\n");
}

TEST_F(ServiceInstallTest, FailuresSayWhy) {
  EXPECT_EQ(Printed(InstallService),
            "OpenSCManager failed - The system cannot find the file specified. (0x2)\n");
  FakeControlProgram(place_.controlProgram, "inactive", 1);
  EXPECT_EQ(Printed(InstallService),
            "CreateService failed - The service has returned a service-specific error code. "
            "(0x42a)\n");
  EXPECT_FALSE(std::filesystem::exists(unit_));
  place_.unitDirectory = directory_ / "none";
  EXPECT_EQ(Printed(RemoveService),
            "OpenSCManager failed - The system cannot find the path specified. (0x3)\n");
}

TEST(ServiceUnit, QuotesTheProgramAndNamesTheStore) {
  const std::string unit = ServiceUnit(R"(/opt/a b/%x"\y)", "/var/lib/s.db");
  EXPECT_NE(unit.find("\nExecStart=:\"/opt/a b/%%x\\\"\\\\y\"\n"), std::string::npos);
  EXPECT_NE(unit.find("\nEnvironment=\"CORVANE_SETTINGS=/var/lib/s.db\"\n"), std::string::npos);
  EXPECT_NE(unit.find("\nType=notify\n"), std::string::npos);
  EXPECT_NE(unit.find("\nStandardOutput=null\n"), std::string::npos);
  EXPECT_NE(unit.find("\nRestart=on-failure\n"), std::string::npos);
}

}  // namespace
}  // namespace corvane
