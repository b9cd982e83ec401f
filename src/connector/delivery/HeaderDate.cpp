#include "connector/delivery/HeaderDate.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include "platform/Clock.h"

namespace corvane {

std::string HeaderDate(std::int64_t seconds) {
  static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const platform::LocalTime local = platform::ToLocalTime(seconds);
  const int offset = std::abs(local.offsetMinutes);
  std::array<char, 96> text;
  std::snprintf(text.data(), text.size(), "%s, %d %s %d %02d:%02d:%02d %c%02d%02d",
                kDays[local.weekday], local.day, kMonths[local.month - 1], local.year, local.hour,
                local.minute, local.second, local.offsetMinutes < 0 ? '-' : '+', offset / 60,
                offset % 60);
  return text.data();
}

}  // namespace corvane
