// ExceptionReportTest.cpp -- the three forms of a report, byte for byte, and where they go.
#include <functional>
#include <stdexcept>
#include <tuple>

#include "SERVICES/Library/xMutexLock/Exception.h"
#include "connector/logs/ExceptionReport.h"
#include "tests/connector/logs/LogFixture.h"

namespace corvane {
namespace {

using ExceptionReportTest = LogFixture;

constexpr SourcePlace kPlace{"/some/where/SFDeliver.cpp", 42};

// The name of a unit, what it does, and the report.
const std::tuple<const char*, std::function<void()>, const char*> kReports[] = {
    {"NotifyClients", [] { throw 5; },
     "NotifyClients raised an exception.\n"
     "The exception occurred in : SFDeliver, line 42\n"},
    {"PostofficeGet", [] { throw std::runtime_error("out of luck"); },
     "PostofficeGet handled an exception; session will be dropped.\n"
     "The exception was: out of luck\n"
     "The exception occurred in : SFDeliver, line 42\n"},
    {"NotifyByRPC", [] { throw Exception("text", "file", 3); },
     "NotifyByRPC handled an exception; session will be dropped.\n"
     "The exception was: text (file:3)\n"
     "The exception occurred in : SFDeliver, line 42\n"},
    {"NotificationEntry::PerformNotification",
     [] { throw ComError(0x8004005, "Unspecified error", "msxml", "no document"); },
     "NotificationEntry::PerformNotification handled a COM error.\n"
     "Code = 0x08004005\n"
     "Code meaning = Unspecified error\n"
     "Source = msxml\n"
     "Error Description = no document\n"},
};

TEST_F(ExceptionReportTest, EachFormGoesToBothLogsAndTheExceptionGoesOn) {
  Use(2, 0);
  for (const auto& [name, body, report] : kReports) {
    events_.all.clear();
    testing::internal::CaptureStdout();
    EXPECT_ANY_THROW(ReportAndRethrow(name, kPlace, body));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), Dated("DATE 12:00:00 ") + report);
    EXPECT_EQ(events_.all, (std::vector<test::HeardEvents::Event>{
                               {"Corvane", platform::EventType{4}, 0x40000001, report}}));
  }
}

TEST_F(ExceptionReportTest, ResultsAndExceptionsPassUnchanged) {
  EXPECT_EQ(ReportAndRethrow("Unit", CV_HERE, [] { return 7; }), 7);
  EXPECT_TRUE(events_.all.empty());
  try {
    ReportAndRethrow("Unit", CV_HERE, [] { throw 5; });
    ADD_FAILURE();
  } catch (int value) {
    EXPECT_EQ(value, 5);
  }
  ASSERT_EQ(events_.all.size(), 1U);
  EXPECT_NE(events_.all[0].text.find(" : ExceptionReportTest, line "), std::string::npos);
}

TEST_F(ExceptionReportTest, EndExceptionHandsOverWhatIsKnown) {
  EXPECT_TRUE(EndException([] {}, [](const ExceptionDetails&) { ADD_FAILURE(); }));
  ExceptionDetails seen;
  const auto keep = [&seen](const ExceptionDetails& details) { seen = details; };
  EXPECT_FALSE(EndException([] { throw ComError(1, "m", "s", "d"); }, keep));
  EXPECT_EQ(seen.kind, ExceptionDetails::Kind::kComError);
  EXPECT_EQ(seen.comCodeLines,
            "Code = 0x00000001\nCode meaning = m\nSource = s\nError Description = d\n");
  EXPECT_FALSE(EndException([] { throw 1; }, keep));
  EXPECT_EQ(seen.kind, ExceptionDetails::Kind::kUnknown);
  EXPECT_TRUE(events_.all.empty());
}

}  // namespace
}  // namespace corvane
