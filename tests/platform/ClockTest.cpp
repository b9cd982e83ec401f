// ClockTest.cpp -- local time, formatted time, sleeps.
#include <gtest/gtest.h>
#include <pthread.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <thread>

#include "platform/Clock.h"

namespace corvane::platform {
namespace {

class ZonedClock : public testing::Test {
 protected:
  static void UseZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  ZonedClock() { UseZone("CET-1CEST,M3.5.0,M10.5.0/3"); }
  ~ZonedClock() override { UseZone("UTC"); }
};

// A format and its text.
const std::pair<const char*, const char*> kFormats[] = {
    {"%m/%d/%y %H:%M:%S", "03/29/26 03:05:09"},
    {"POC-Debug-%y%m%d.log", "POC-Debug-260329.log"},
    {"%a, %d %b %Y %H:%M:%S %z", "Sun, 29 Mar 2026 03:05:09 +0200"},
    {"%A %B %p", "Sunday March AM"},
    {"%j", "088"},
    {"", ""},
    {"%%", "%"},
};

TEST_F(ZonedClock, FormatsInEnglish) {
  const LocalTime time = ToLocalTime(1774746309);  // 01:05:09 UTC, minutes after summer time began
  EXPECT_EQ(time.offsetMinutes, 120);
  for (const auto& [format, text] : kFormats) EXPECT_EQ(FormatTime(time, format), text);
  const std::string longFormat(5000, 'x');
  EXPECT_EQ(FormatTime(time, longFormat.c_str()), longFormat);
}

TEST_F(ZonedClock, TimesAreThoseOfTheZoneAndTheMoment) {
  EXPECT_EQ(ToLocalTime(1774745999).offsetMinutes, 60);
  EXPECT_EQ(ToLocalTime(1774745999).hour, 1);
  EXPECT_EQ(ToUtc(1774745999).hour, 0);
  EXPECT_EQ(ToUtc(0).weekday, 4);
}

TEST(Clock, VirtualSleepsPassAtOnceAndAddUp) {
  VirtualClock clock(1000);
  SetClock(&clock);
  SleepFor(2500);
  SleepFor(0);
  SleepFor(-5);
  EXPECT_EQ(clock.Milliseconds(), 1'002'500);
  EXPECT_EQ(NowSeconds(), 1002);
  EXPECT_EQ(clock.Slept(), 2500);
  EXPECT_EQ(SetClock(nullptr), &clock);
}

TEST(Clock, SignalsDoNotCutASleepShort) {
  std::signal(SIGUSR1, [](int) {});
  std::atomic<bool> awake{false};
  const pthread_t sleeper = pthread_self();
  std::thread disturber([&] {
    while (!awake) {
      pthread_kill(sleeper, SIGUSR1);
      std::this_thread::yield();
    }
  });
  const std::int64_t before = CurrentClock().Monotonic();
  SleepFor(30);
  const std::int64_t slept = CurrentClock().Monotonic() - before;
  awake = true;
  disturber.join();
  EXPECT_GE(slept, 30);
}

}  // namespace
}  // namespace corvane::platform
