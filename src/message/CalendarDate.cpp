#include "message/CalendarDate.h"

#include <algorithm>
#include <string>

#include "message/Ascii.h"

namespace corvane {
namespace {

constexpr std::size_t kLongestValue = 127;

// The number of up to `width` digits at `at`; what isn't there or isn't a digit ends it.
[[nodiscard]] int NumberAt(std::string_view text, std::size_t at, std::size_t width) {
  int number = 0;
  for (std::size_t i = at; i < std::min(at + width, text.size()) && IsDigit(text[i]); ++i) {
    number = number * 10 + (text[i] - '0');
  }
  return number;
}

// Gives a value without a year its year, and takes hyphens and colons out of a date with hyphens.
[[nodiscard]] std::string PlainDigits(std::string_view text) {
  std::string value(text.substr(0, kLongestValue));
  if (value.starts_with('-')) {
    if (value.size() == 5 || value.size() == 12) value.insert(3, 1, '-');
    value.insert(0, "1604");
  }
  if (value.size() < 5 || value[4] != '-') return value;
  value.erase(4, 1);
  std::size_t second = value.find('-');
  if (second != value.npos) value.erase(second, 1);
  std::erase(value, ':');
  return value;
}

// The zone that a value ends in, or nothing.
[[nodiscard]] std::string_view TrailingZone(std::string_view value) {
  std::size_t from = value.size() > 6 ? value.size() - 6 : 0;
  std::size_t sign = value.find_first_of("+-", from);
  return sign == value.npos ? std::string_view() : value.substr(sign);
}

[[nodiscard]] int ZoneSeconds(std::string_view zone) {
  if (EqualsIgnoringCase(zone, "GMT")) return 0;
  bool west = zone.starts_with('-');
  if (west || zone.starts_with('+')) zone.remove_prefix(1);
  std::string digits(zone);
  std::erase(digits, ':');
  int number = NumberAt(digits, 0, 4);
  int seconds = number / 100 * 3600 + number % 100 * 60;
  return west ? -seconds : seconds;
}

}  // namespace

bool ParseCompactDate(std::string_view text, FileTime& fileTime) {
  if (text.size() < 9) return false;
  CalendarTime time;
  time.year = NumberAt(text, 0, 4);
  time.month = NumberAt(text, 5, 2);
  time.day = NumberAt(text, 8, 2);
  if (text.size() >= 19) {
    time.hour = NumberAt(text, 11, 2);
    time.minute = NumberAt(text, 14, 2);
    time.second = NumberAt(text, 17, 2);
  }
  return ToFileTime(time, fileTime);
}

bool ParseCalendarDate(std::string_view text, FileTime& fileTime, std::string_view zone,
                       bool invert) {
  std::string value = PlainDigits(text);
  if (value.empty() || value[0] < '1' || value[0] > '4') return false;
  CalendarTime time;
  time.year = NumberAt(value, 0, 4);
  time.month = NumberAt(value, 4, 2);
  time.day = NumberAt(value, 6, 2);
  if (value.size() >= 10) {
    time.hour = NumberAt(value, 9, 2);
    time.minute = NumberAt(value, 11, 2);
    time.second = NumberAt(value, 13, 2);
  }
  FileTime local = 0;
  if (!ToFileTime(time, local)) return false;
  int seconds = ZoneSeconds(zone.empty() ? TrailingZone(value) : zone);
  fileTime = local + (invert ? -seconds : seconds) * kFileTimeSecond;
  return true;
}

}  // namespace corvane
