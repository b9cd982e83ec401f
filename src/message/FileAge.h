// FileAge.h -- how long ago a file was last written.
#pragma once

#include <cstdint>
#include <string_view>

namespace corvane {

enum class AgeUnit : int {
  kYears = 1,
  kMonths = 2,  // counted from 1: a new file is in its first month
  kDays = 3,
  kHours = 4,
  kMinutes = 5,
  kSeconds = 6,
  kMilliseconds = 7,
};

// The age of a span, cut into calendar fields as if it had begun with 1601. From days on a month
// counts as 30 days and a year as 365. 0 for any other unit and for a span below 0.
[[nodiscard]] std::int64_t AgeOf(std::int64_t milliseconds, AgeUnit unit);

// The time since the last write of the file at a product path; 0 when it isn't there. Any thread.
[[nodiscard]] std::int64_t FileAge(std::string_view path, AgeUnit unit);

}  // namespace corvane
