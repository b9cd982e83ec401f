#include "tests/connector/logs/LogFixture.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "connector/logs/Logs.h"
#include "connector/settings/Settings.h"

namespace corvane {
namespace {

constexpr std::int64_t kFirstNoon = 1774695600;  // 28 March 2026, 12:00:00 an hour ahead of UTC
constexpr std::int64_t kDaysApart = 10;

std::int64_t NextNoon() {
  static std::int64_t noon = kFirstNoon;
  return noon += kDaysApart * 86400;
}

std::string LocalNow(const char* format) {
  return platform::FormatTime(platform::ToLocalTime(platform::NowSeconds()), format);
}

}  // namespace

LogFixture::LogFixture() : clock_(NextNoon()) {
  setenv("TZ", "XYZ-1", 1);
  tzset();
  setenv("CORVANE_SETTINGS", (directory_ / "settings.db").c_str(), 1);
  std::filesystem::create_directory(directory_ / "debug");
  std::filesystem::create_directory(directory_ / "activity");
}

LogFixture::~LogFixture() { CloseBoth(); }

void LogFixture::OpenBoth() {
  Use(1, 1);
  OpenActivityLog();
  OpenDebugLog();
}

void LogFixture::CloseBoth() {
  CloseActivityLog();
  CloseDebugLog();
  ReleaseLogMutexes();
}

void LogFixture::Use(std::uint32_t debugEnabled, std::uint32_t activityLogEnabled,
                     std::uint32_t level) {
  settings::Hold(settings::kDebugEnabled, debugEnabled);
  settings::Hold(settings::kActivityLogEnabled, activityLogEnabled);
  settings::Hold(settings::kDebugLoggingLevel, level);
  settings::Hold(settings::kDebugLogFileDirectory, directory_ / "debug");
  settings::Hold(settings::kActivityLogDirectory, directory_ / "activity");
}

std::string LogFixture::Date() const { return LocalNow("%m/%d/%y"); }

std::string LogFixture::Dated(std::string text) const {
  const std::string date = Date();
  for (std::size_t at = text.find("DATE"); at != std::string::npos; at = text.find("DATE")) {
    text.replace(at, 4, date);
  }
  return text;
}

std::string LogFixture::File(const std::string& pattern) const {
  return test::ReadBytes(directory_ / (pattern + LocalNow("%y%m%d.log")));
}

}  // namespace corvane
