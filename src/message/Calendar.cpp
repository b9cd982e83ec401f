#include "message/Calendar.h"

#include <algorithm>

namespace corvane {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
constexpr std::int64_t kDaysPerEra = 146097;  // 400 years

[[nodiscard]] constexpr std::int64_t FloorDivide(std::int64_t a, std::int64_t b) {
  return a / b - (a % b < 0 ? 1 : 0);
}

// Days since 1970. The year is taken to begin in March, so that the leap day is its last.
[[nodiscard]] std::int64_t DayNumber(std::int64_t year, int month, std::int64_t day) {
  if (month <= 2) --year;
  std::int64_t era = FloorDivide(year, 400);
  std::int64_t yearOfEra = year - era * 400;
  std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * kDaysPerEra + dayOfEra - 719468;
}

[[nodiscard]] bool IsLeapYear(int year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

}  // namespace

int DaysInMonth(int year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12) return 0;
  return kDays[month - 1] + (month == 2 && IsLeapYear(year) ? 1 : 0);
}

int DayOfWeek(int year, int month, int day) {
  std::int64_t days = DayNumber(year, month, day) + 4;  // 1 January 1970 was a Thursday
  return static_cast<int>(days - FloorDivide(days, 7) * 7);
}

int NthWeekday(int year, int month, int weekday, int number) {
  int first = 1 + (weekday - DayOfWeek(year, month, 1) + 7) % 7;
  int last = first + (DaysInMonth(year, month) - first) / 7 * 7;
  return number <= 0 || number > 5 ? last : std::min(first + (number - 1) * 7, last);
}

std::int64_t ToSeconds(const CalendarTime& time) {
  std::int64_t year = time.year + FloorDivide(time.month - 1, 12);
  int month = static_cast<int>(time.month - FloorDivide(time.month - 1, 12) * 12);
  std::int64_t days = DayNumber(year, month, time.day);
  return days * kSecondsPerDay + time.hour * std::int64_t{3600} + time.minute * std::int64_t{60} +
         time.second;
}

CalendarTime FromSeconds(std::int64_t seconds) {
  std::int64_t days = FloorDivide(seconds, kSecondsPerDay);
  int rest = static_cast<int>(seconds - days * kSecondsPerDay);
  days += 719468;
  std::int64_t era = FloorDivide(days, kDaysPerEra);
  std::int64_t dayOfEra = days - era * kDaysPerEra;
  std::int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / (kDaysPerEra - 1)) / 365;
  std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  std::int64_t shifted = (5 * dayOfYear + 2) / 153;
  CalendarTime time;
  time.day = static_cast<int>(dayOfYear - (153 * shifted + 2) / 5 + 1);
  time.month = static_cast<int>(shifted < 10 ? shifted + 3 : shifted - 9);
  time.year = static_cast<int>(yearOfEra + era * 400 + (time.month <= 2 ? 1 : 0));
  time.hour = rest / 3600;
  time.minute = rest / 60 % 60;
  time.second = rest % 60;
  return time;
}

bool IsValidTime(const CalendarTime& time) {
  auto within = [](int value, int low, int high) { return value >= low && value <= high; };
  return within(time.month, 1, 12) && within(time.day, 1, DaysInMonth(time.year, time.month)) &&
         within(time.hour, 0, 23) && within(time.minute, 0, 59) && within(time.second, 0, 59);
}

bool ToFileTime(const CalendarTime& time, FileTime& fileTime) {
  if (!IsValidTime(time) || time.year < 1601) return false;
  fileTime = SecondsToFileTime(ToSeconds(time));
  return true;
}

std::int64_t FileTimeToSeconds(FileTime fileTime) {
  return FloorDivide(fileTime, kFileTimeSecond) - kSecondsFrom1601To1970;
}

FileTime SecondsToFileTime(std::int64_t seconds) {
  return (seconds + kSecondsFrom1601To1970) * kFileTimeSecond;
}

}  // namespace corvane
