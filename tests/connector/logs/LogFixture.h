// LogFixture.h -- logs of a test's own: directory, settings, clock, and what left the program.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/support/HeardEvents.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TestClock.h"

namespace corvane {

// Each test has a day of its own, at 12:00:00 local time (an hour ahead of UTC), since the logs
// remember their file's name as long as the process runs.
class LogFixture : public testing::Test {
 protected:
  LogFixture();
  ~LogFixture() override;

  // The settings, as the start of the connector loads them.
  void Use(std::uint32_t debugEnabled, std::uint32_t activityLogEnabled, std::uint32_t level = 5);
  // Both logs into files; and their end, as at the service's stop.
  void OpenBoth();
  static void CloseBoth();
  // To the first second after the next local midnight.
  void PassMidnight() { clock_.Advance((12 * 3600 + 1) * 1000LL); }

  // "03/28/26", and the file of that day as it stands.
  [[nodiscard]] std::string Date() const;
  [[nodiscard]] std::string DebugFile() const { return File("debug/POC-Debug-"); }
  [[nodiscard]] std::string ActivityFile() const { return File("activity/POC-Activity-"); }
  // A text with DATE for Date() replaced.
  [[nodiscard]] std::string Dated(std::string text) const;

  test::TemporaryDirectory directory_;
  test::TestClock clock_;
  test::HeardEvents events_;

 private:
  [[nodiscard]] std::string File(const std::string& pattern) const;
};

// What `work` writes to standard output.
template <typename Work>
std::string Printed(Work work) {
  testing::internal::CaptureStdout();
  work();
  return testing::internal::GetCapturedStdout();
}

}  // namespace corvane
