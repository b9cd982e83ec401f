#include "platform/Clock.h"

#include <locale.h>

#include <cerrno>
#include <ctime>

namespace corvane::platform {
namespace {

constexpr std::int64_t kNanosecondsPerMillisecond = 1'000'000;

std::int64_t ReadClock(clockid_t id) {
  timespec now{};
  clock_gettime(id, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / kNanosecondsPerMillisecond;
}

class SystemClock : public Clock {
 public:
  std::int64_t Milliseconds() override { return ReadClock(CLOCK_REALTIME); }
  std::int64_t Monotonic() override { return ReadClock(CLOCK_MONOTONIC); }
  void Sleep(std::int64_t milliseconds) override;
};

// Sleeps until a fixed moment, so that an interrupting signal costs no time and adds none.
void SystemClock::Sleep(std::int64_t milliseconds) {
  if (milliseconds <= 0) return;
  timespec until{};
  clock_gettime(CLOCK_MONOTONIC, &until);
  const std::int64_t nanoseconds =
      until.tv_nsec + (milliseconds % 1000) * kNanosecondsPerMillisecond;
  until.tv_sec += milliseconds / 1000 + nanoseconds / 1'000'000'000;
  until.tv_nsec = nanoseconds % 1'000'000'000;
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
  }
}

Clock& SystemClockInstance() {
  // Never destroyed: threads ask it until the process ends.
  static Clock* const clock = new SystemClock;
  return *clock;
}

std::atomic<Clock*> clockInForce{nullptr};

LocalTime FromTm(const std::tm& fields) {
  LocalTime time;
  time.year = fields.tm_year + 1900;
  time.month = fields.tm_mon + 1;
  time.day = fields.tm_mday;
  time.hour = fields.tm_hour;
  time.minute = fields.tm_min;
  time.second = fields.tm_sec;
  time.weekday = fields.tm_wday;
  time.offsetMinutes = static_cast<int>(fields.tm_gmtoff / 60);
  return time;
}

std::tm ToTm(const LocalTime& time) {
  std::tm fields{};
  fields.tm_year = time.year - 1900;
  fields.tm_mon = time.month - 1;
  fields.tm_mday = time.day;
  fields.tm_hour = time.hour;
  fields.tm_min = time.minute;
  fields.tm_sec = time.second;
  std::tm forYearDay = fields;
  (void)timegm(&forYearDay);
  fields.tm_yday = forYearDay.tm_yday;
  fields.tm_wday = time.weekday;
  fields.tm_gmtoff = time.offsetMinutes * 60L;
  fields.tm_zone = "";
  return fields;
}

locale_t EnglishLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

}  // namespace

Clock& CurrentClock() {
  Clock* clock = clockInForce.load(std::memory_order_acquire);
  return clock != nullptr ? *clock : SystemClockInstance();
}

Clock* SetClock(Clock* clock) {
  Clock* before = clockInForce.exchange(clock, std::memory_order_acq_rel);
  return before != nullptr ? before : &SystemClockInstance();
}

LocalTime ToLocalTime(std::int64_t seconds) {
  const std::time_t moment = static_cast<std::time_t>(seconds);
  std::tm fields{};
  localtime_r(&moment, &fields);
  return FromTm(fields);
}

LocalTime ToUtc(std::int64_t seconds) {
  const std::time_t moment = static_cast<std::time_t>(seconds);
  std::tm fields{};
  gmtime_r(&moment, &fields);
  return FromTm(fields);
}

std::string FormatTime(const LocalTime& time, const char* format) {
  const std::tm fields = ToTm(time);
  // strftime can't tell an empty result from a full buffer; a guard character makes none empty.
  const std::string guarded = std::string(format) + ".";
  std::string text(guarded.size() + 128, '\0');
  std::size_t length = 0;
  while ((length = strftime_l(text.data(), text.size(), guarded.c_str(), &fields,
                              EnglishLocale())) == 0) {
    text.resize(text.size() * 2);
  }
  text.resize(length - 1);
  return text;
}

void VirtualClock::Sleep(std::int64_t milliseconds) {
  if (milliseconds <= 0) return;
  milliseconds_ += milliseconds;
  slept_ += milliseconds;
}

}  // namespace corvane::platform
