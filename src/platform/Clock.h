// Clock.h -- now, sleeps and waits. Everything in the product that asks the time or waits asks
// here.
//
// Tests put a VirtualClock in place of the system's, so that no test waits for real seconds.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

namespace corvane::platform {

// Broken-down local time, with the offset from UTC that holds at that moment.
struct LocalTime {
  int year = 1970;  // 2026
  int month = 1;    // 1 to 12
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
  int weekday = 4;  // 0 Sunday
  int offsetMinutes = 0;
};

class Clock {
 public:
  virtual ~Clock() = default;
  // Seconds since 1970, and the same in milliseconds.
  [[nodiscard]] virtual std::int64_t Milliseconds() = 0;
  // Runs its full time; nothing cuts it short. 0 returns at once.
  virtual void Sleep(std::int64_t milliseconds) = 0;
  // A count that only grows, for measuring spans, in milliseconds.
  [[nodiscard]] virtual std::int64_t Monotonic() = 0;
};

// The clock in force. Never null. SetClock(nullptr) puts the system's back; returns the one that
// was in force.
[[nodiscard]] Clock& CurrentClock();
Clock* SetClock(Clock* clock);

[[nodiscard]] inline std::int64_t NowSeconds() { return CurrentClock().Milliseconds() / 1000; }
inline void SleepFor(std::int64_t milliseconds) { CurrentClock().Sleep(milliseconds); }

// Local time of a moment by the zone of the process (TZ or /etc/localtime).
[[nodiscard]] LocalTime ToLocalTime(std::int64_t seconds);
[[nodiscard]] LocalTime ToUtc(std::int64_t seconds);
// strftime over a LocalTime, in English.
[[nodiscard]] std::string FormatTime(const LocalTime& time, const char* format);

// A clock that stands still but for sleeps, which pass at once and move it on. Any thread.
class VirtualClock : public Clock {
 public:
  explicit VirtualClock(std::int64_t seconds = 1'700'000'000) : milliseconds_(seconds * 1000) {}
  std::int64_t Milliseconds() override { return milliseconds_.load(); }
  void Sleep(std::int64_t milliseconds) override;
  std::int64_t Monotonic() override { return milliseconds_.load(); }
  void Advance(std::int64_t milliseconds) { milliseconds_ += milliseconds; }
  // What all sleeps so far came to.
  [[nodiscard]] std::int64_t Slept() const { return slept_.load(); }

 private:
  std::atomic<std::int64_t> milliseconds_;
  std::atomic<std::int64_t> slept_{0};
};

}  // namespace corvane::platform
