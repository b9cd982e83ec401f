// TimeZone.h -- a time zone in force for as long as it lives.
#pragma once

#include <cstdlib>
#include <ctime>

namespace corvane::test {

class TimeZone {
 public:
  // As in TZ, whose sign is turned: minus is east.
  explicit TimeZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  ~TimeZone() {
    unsetenv("TZ");
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;
};

}  // namespace corvane::test
