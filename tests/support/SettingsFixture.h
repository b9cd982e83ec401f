// SettingsFixture.h -- a test with a settings store, a directory and a clock of its own.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TestClock.h"

namespace corvane::test {

// The settings are empty but for the root of the queues, which is the directory; the clock is
// virtual and stands at 1,700,000,000.
class SettingsFixture : public ::testing::Test {
 protected:
  SettingsFixture();
  ~SettingsFixture() override;

  // A value below the product key, seen at once whatever the setting's read rule is.
  void Set(std::string_view name, std::uint32_t value, std::string_view key = ".");
  void Set(std::string_view name, std::string_view value, std::string_view key = ".");
  [[nodiscard]] const TemporaryDirectory& Directory() const { return directory_; }
  platform::VirtualClock& Clock() { return clock_; }

 private:
  TemporaryDirectory directory_;
  TestClock clock_;
};

}  // namespace corvane::test
