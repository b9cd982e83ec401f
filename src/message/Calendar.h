// Calendar.h -- days, weekdays and file times of the Gregorian calendar.
//
// Months and days count from 1, weekdays from 0 for Sunday. Years are those of the calendar, before
// its introduction too. Any thread.
#pragma once

#include <cstdint>

namespace corvane {

// Steps of 100 nanoseconds since 1 January 1601, UTC.
using FileTime = std::int64_t;
inline constexpr FileTime kFileTimeSecond = 10'000'000;

// A date and time of day; the fields needn't be in their range until a function says so.
struct CalendarTime {
  int year = 1601;
  int month = 1;
  int day = 1;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

// 0 for a month outside 1 to 12.
[[nodiscard]] int DaysInMonth(int year, int month);
[[nodiscard]] int DayOfWeek(int year, int month, int day);
// The day of the month of the N-th such weekday; 0 or less, or more than the month has, means the
// last one.
[[nodiscard]] int NthWeekday(int year, int month, int weekday, int number);

// Seconds since 1970, and back. Fields outside their range count on: 31 February is in March.
[[nodiscard]] std::int64_t ToSeconds(const CalendarTime& time);
[[nodiscard]] CalendarTime FromSeconds(std::int64_t seconds);

// Whether each field is in its range and the day exists.
[[nodiscard]] bool IsValidTime(const CalendarTime& time);

// The file time of a valid time from 1601 on; false for any other.
bool ToFileTime(const CalendarTime& time, FileTime& fileTime);
[[nodiscard]] std::int64_t FileTimeToSeconds(FileTime fileTime);
[[nodiscard]] FileTime SecondsToFileTime(std::int64_t seconds);

}  // namespace corvane
