// LogFixture.h -- logs of a test's own: directory, settings, clock, and what left the program.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"
#include "tests/support/HeardEvents.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TestClock.h"

namespace corvane {

// Each test has a day of its own, at 12:00:00 local time (an hour ahead of UTC), since the logs
// remember their file's name as long as the process runs.
class LogFixture : public testing::Test {
 protected:
  LogFixture() : clock_(NextNoon()) {
    setenv("TZ", "XYZ-1", 1);
    tzset();
    setenv("CORVANE_SETTINGS", (directory_ / "settings.db").c_str(), 1);
    std::filesystem::create_directory(directory_ / "debug");
    std::filesystem::create_directory(directory_ / "activity");
  }
  ~LogFixture() override { CloseBoth(); }

  // The settings, as the start of the connector loads them.
  void Use(std::uint32_t debugEnabled, std::uint32_t activityLogEnabled, std::uint32_t level = 5) {
    settings::Hold(settings::kDebugEnabled, debugEnabled);
    settings::Hold(settings::kActivityLogEnabled, activityLogEnabled);
    settings::Hold(settings::kDebugLoggingLevel, level);
    settings::Hold(settings::kDebugLogFileDirectory, directory_ / "debug");
    settings::Hold(settings::kActivityLogDirectory, directory_ / "activity");
  }
  // Both logs into files; and their end, as at the service's stop.
  void OpenBoth() {
    Use(1, 1);
    OpenActivityLog();
    OpenDebugLog();
  }
  static void CloseBoth() {
    CloseActivityLog();
    CloseDebugLog();
    ReleaseLogMutexes();
  }
  // To the first second after the next local midnight.
  void PassMidnight() { clock_.Advance((12 * 3600 + 1) * 1000LL); }

  // "03/28/26", and the file of that day as it stands.
  [[nodiscard]] static std::string Date() { return LocalNow("%m/%d/%y"); }
  [[nodiscard]] std::string DebugPath() const {
    return directory_ / ("debug/POC-Debug-" + LocalNow("%y%m%d.log"));
  }
  [[nodiscard]] std::string DebugFile() const { return test::ReadBytes(DebugPath()); }
  [[nodiscard]] std::string ActivityFile() const {
    return test::ReadBytes(directory_ / ("activity/POC-Activity-" + LocalNow("%y%m%d.log")));
  }
  // A text with DATE for Date() replaced.
  [[nodiscard]] static std::string Dated(std::string text) {
    for (std::size_t at; (at = text.find("DATE")) != std::string::npos;)
      text.replace(at, 4, Date());
    return text;
  }

  test::TemporaryDirectory directory_;
  test::TestClock clock_;
  test::HeardEvents events_;

 private:
  static std::int64_t NextNoon() {
    static std::int64_t noon = 1774695600;  // 28 March 2026, 12:00:00 an hour ahead of UTC
    return noon += 10 * 86400;
  }
  static std::string LocalNow(const char* format) {
    return platform::FormatTime(platform::ToLocalTime(platform::NowSeconds()), format);
  }
};

// What `work` writes to standard output.
template <typename Work>
std::string Printed(Work work) {
  testing::internal::CaptureStdout();
  work();
  return testing::internal::GetCapturedStdout();
}

}  // namespace corvane
