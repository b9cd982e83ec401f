// LogsTest.cpp -- targets, markers, daily change, levels, the debug log's mutex, the event log.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>
#include <tuple>

#include "SERVICES/Library/xMutexLock/Exception.h"
#include "connector/logs/Logs.h"
#include "platform/Error.h"
#include "platform/FaultInjection.h"
#include "platform/Machine.h"
#include "platform/NamedMutex.h"
#include "tests/connector/logs/LogFixture.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Threads.h"

namespace corvane {
namespace {

// Asked for once a process, at the first use.
const int kDebugChannelOn = setenv("CORVANE_DEBUG_CHANNEL", "1", 1);

const std::string kStartedText = "]****************** LOG FILE STARTED *******************\r\n";
const std::string kClosedText = "]****************** LOG FILE CLOSED ********************\r\n";
const std::string kStarted = "[DATE 12:00:00" + kStartedText;
const std::string kClosed = "[DATE 12:00:00" + kClosedText;

using LogsTest = LogFixture;

TEST_F(LogsTest, FilesHoldMarkersAndLines) {
  OpenBoth();
  LogDebug("one\n");
  LogDebugF("%s %ld\n", "two", 2L);
  LogActivity("three\n");
  LogActivityF("%d\n", 4);
  LogActivityToFile("five\n");
  CloseBoth();
  EXPECT_EQ(DebugFile(),
            Dated(kStarted + "DATE 12:00:00\tone\r\nDATE 12:00:00\ttwo 2\r\n" + kClosed));
  EXPECT_EQ(ActivityFile(), Dated(kStarted + "DATE 12:00:00\t# three\r\nDATE 12:00:00\t# 4\r\n" +
                                  "DATE 12:00:00\t# five\r\n" + kClosed));
}

struct TargetCase {
  std::uint32_t debugEnabled, activityLogEnabled;
  std::string console, debugger, activityFile;
};
const TargetCase kDebugTargets[] = {
    {0, 1, "", "", ""},
    {2, 0, "DATE 12:00:00 text\n", "", ""},
    {3, 0, "", "text\n", ""},
    {4, 1, "", "", ""},
    {5, 0, "", "", ""},
    {5, 1, "", "", "DATE 12:00:00\t# text\r\n"},
    {5, 2, "DATE 12:00:00\t# text\n\n", "", ""},
    {5, 3, "", "DATE 12:00:00\t# text\n\n", ""},
};

TEST_F(LogsTest, DebugTargets) {
  for (const TargetCase& row : kDebugTargets) {
    Use(1, 1);
    CloseActivityLog();
    std::filesystem::remove_all(directory_ / "activity");
    std::filesystem::create_directory(directory_ / "activity");
    OpenActivityLog();
    Use(row.debugEnabled, row.activityLogEnabled);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Printed([] { LogDebug("text\n"); }), Dated(row.console));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), Dated(row.debugger));
    EXPECT_EQ(ActivityFile(), Dated(kStarted + row.activityFile));
    EXPECT_EQ(DebugFile(), "");
  }
}

TEST_F(LogsTest, LineAfterMidnightIsTheOldFilesAndTheNextTheNewOnes) {
  OpenBoth();
  const std::string oldDate = Date();
  const std::string oldDebug = DebugPath();
  PassMidnight();
  LogDebug("late\n");
  LogActivity("late\n");
  LogDebug("early\n");
  LogActivity("early\n");
  const std::string late = Date() + " 00:00:01";
  const std::string opened = "[" + late + kStartedText;
  EXPECT_EQ(test::ReadBytes(oldDebug),
            "[" + oldDate + " 12:00:00" + kStartedText + late + "\tlate\r\n[" + late + kClosedText);
  EXPECT_EQ(DebugFile(), opened + late + "\tearly\r\n");
  EXPECT_EQ(ActivityFile(), opened + late + "\t# early\r\n");
}

// How often each line stands in the files of a directory; lines that aren't whole count as such.
std::map<std::string, int> LinesOf(const std::string& directory) {
  std::map<std::string, int> lines;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    std::ifstream file(entry.path());
    for (std::string line; std::getline(file, line);) {
      if (line.find("LOG FILE") == std::string::npos) ++lines[line.substr(line.find('\t') + 1)];
    }
  }
  return lines;
}

TEST_F(LogsTest, NoLineIsLostAmongThreadsAcrossManyMidnights) {
  constexpr int kThreads = 6;
  constexpr int kLines = 300;
  OpenBoth();
  test::Threads(kThreads, [this](int number) {
    for (int line = 0; line < kLines; ++line) {
      LogDebugF("t%d-%d\n", number, line);
      LogActivityF("t%d-%d\n", number, line);
      clock_.Advance(60'000);
    }
  }).Join();
  const auto debug = LinesOf(directory_ / "debug");
  const auto activity = LinesOf(directory_ / "activity");
  EXPECT_EQ(debug.size(), static_cast<std::size_t>(kThreads * kLines));
  EXPECT_EQ(activity.size(), static_cast<std::size_t>(kThreads * kLines));
  for (int number = 0; number < kThreads; ++number) {
    const std::string line = "t" + std::to_string(number) + "-" + std::to_string(kLines - 1);
    EXPECT_EQ(debug.count(line + "\r"), 1U);
    EXPECT_EQ(activity.count("# " + line + "\r"), 1U);
  }
}

TEST_F(LogsTest, ProcessesKeepTheirLinesWhole) {
  constexpr int kProcesses = 3;
  constexpr int kLines = 500;
  Use(1, 0);
  std::vector<pid_t> processes;
  for (int number = 0; number < kProcesses; ++number) {
    processes.push_back(fork());
    if (processes.back() != 0) continue;
    CreateLogMutexes();
    OpenDebugLog();
    for (int line = 0; line < kLines; ++line) LogDebugF("p%d-%d\n", number, line);
    ReleaseLogMutexes();
    _exit(0);
  }
  for (const pid_t process : processes) waitpid(process, nullptr, 0);
  const auto lines = LinesOf(directory_ / "debug");
  EXPECT_EQ(lines.size(), static_cast<std::size_t>(kProcesses * kLines));
  for (const auto& [line, count] : lines) EXPECT_EQ(count, 1) << line;
}

TEST_F(LogsTest, StopUnderRunningWorkersIsSafeAndLinesAfterItAreDropped) {
  CreateLogMutexes();
  OpenBoth();
  std::atomic<bool> stop{false};
  std::atomic<int> started{0};
  test::Threads workers(4, [&](int) {
    ++started;
    while (!stop) {
      LogDebug("line\n");
      LogActivity("line\n");
    }
  });
  while (started < 4) std::this_thread::yield();
  CloseBoth();
  stop = true;
  workers.Join();
  LogDebug("late\n");
  LogActivity("late\n");
  LogActivityToFile("late\n");
  CloseDebugLog();
  for (const std::string& log : {DebugFile(), ActivityFile()}) {
    EXPECT_TRUE(log.ends_with(kClosedText)) << "nothing behind it";
    EXPECT_EQ(log.find("late"), std::string::npos);
    EXPECT_EQ(log.find(kClosedText), log.rfind(kClosedText)) << "closed once";
  }
}

TEST_F(LogsTest, FileThatCannotBeOpenedLosesLinesUntilTheNextDay) {
  Use(1, 0);
  std::filesystem::remove_all(directory_ / "debug");
  OpenDebugLog();
  LogDebug("lost\n");
  std::filesystem::create_directory(directory_ / "debug");
  LogDebug("lost too\n");
  EXPECT_EQ(DebugFile(), "");
  PassMidnight();
  LogDebug("still lost\n");
  LogDebug("kept\n");
  EXPECT_TRUE(DebugFile().ends_with("\tkept\r\n"));
  EXPECT_EQ(DebugFile().find("lost"), std::string::npos);
}

TEST_F(LogsTest, LevelIsAskedForByThreshold) {
  // A level, what it is asked to be above, and whether it is.
  const std::tuple<std::uint32_t, std::int32_t, bool> cases[] = {
      {5, 5, false}, {6, 5, true}, {0, 0, false}, {11, 10, true}, {0xFFFFFFFF, 10, true}};
  for (const auto& [level, above, answer] : cases) {
    Use(0, 0, level);
    EXPECT_EQ(DebugLevelAbove(above), answer) << level;
  }
}

TEST_F(LogsTest, LongAndOddTextsPass) {
  Use(2, 2);
  const std::string text = std::string(50'000, 'x') + "%s%n\n";
  EXPECT_EQ(Printed([&] { LogDebugF("%s", text.c_str()); }), Dated("DATE 12:00:00 ") + text);
  EXPECT_EQ(Printed([&] { LogActivity(text); }), Dated("DATE 12:00:00\t# ") + text + "\n");
}

// As after the death of another connector in the middle of a line.
TEST_F(LogsTest, AnAbandonedMutexIsTakenOver) {
  Use(2, 0);
  CreateLogMutexes();
  (void)test::RunInChild([] {
    (void)platform::NamedMutex::Open("POCDebugLog").release()->Lock(0);
    return 0;
  });
  EXPECT_EQ(Printed([] { LogDebug("kept\n"); }), Dated("DATE 12:00:00 kept\n"));
}

TEST_F(LogsTest, AFailedWriteLosesItsLineAndNotTheDay) {
  Use(1, 0);
  OpenDebugLog();
  platform::ArmFault({.number = 1,
                      .error = platform::kErrorDiskFull,
                      .calls = platform::FileCallBit(platform::FileCall::kWrite)});
  LogDebug("lost\n");
  platform::DisarmFault();
  LogDebug("kept\n");
  CloseDebugLog();
  const std::string log = DebugFile();
  EXPECT_EQ(log.find("lost"), std::string::npos);
  EXPECT_NE(log.find("kept"), std::string::npos);
}

TEST_F(LogsTest, TheCallersLastErrorStays) {
  std::filesystem::remove_all(directory_ / "debug");
  std::filesystem::remove_all(directory_ / "activity");
  for (const std::uint32_t target : {1U, 2U, 5U}) {
    Use(target, 1);
    platform::SetLastError(77);
    Printed([] {
      LogDebug("text\n");
      LogDebugF("%s\n", "text");
      LogActivity("text\n");
      LogActivityToFile("text\n");
    });
    EXPECT_EQ(platform::LastError(), 77) << target;
  }
}

TEST_F(LogsTest, EventLogGetsTwoStringsAndKeepsTheLastError) {
  platform::SetLastError(platform::kErrorAccessDenied);
  ReportToEventLog(kReportError, "", "category", 7, "text\n");
  EXPECT_EQ(platform::LastError(), platform::kErrorAccessDenied);
  ReportToEventLog(kReportInformation, "Service Control Manager", nullptr, kConnectorEventId, "");
  EXPECT_EQ(events_.all, (std::vector<test::HeardEvents::Event>{
                             {"Corvane", platform::EventType{1}, 7, "text\n"},
                             {"Service Control Manager", platform::EventType{4}, 0x40000001, ""}}));
  EXPECT_EQ(events_.firstStrings[0],
            "Corvane Postoffice Service (" + platform::ProgramPath() + ") error: 5");
}

}  // namespace
}  // namespace corvane
