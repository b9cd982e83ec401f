// TestClock.h -- a virtual clock that is in force while it lives.
#pragma once

#include "platform/Clock.h"

namespace corvane::test {

class TestClock : public platform::VirtualClock {
 public:
  explicit TestClock(std::int64_t seconds = 1'700'000'000) : VirtualClock(seconds) {
    platform::SetClock(this);
  }
  ~TestClock() override { platform::SetClock(nullptr); }
  TestClock(const TestClock&) = delete;
  TestClock& operator=(const TestClock&) = delete;
};

}  // namespace corvane::test
