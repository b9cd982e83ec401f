// HeaderDate.h -- the date in the headers that delivery writes.
#pragma once

#include <cstdint>
#include <string>

namespace corvane {

// Local time of a moment as "Sun, 22 Nov 2026 22:08:00 +0930": English names, no leading zero
// before the day.
[[nodiscard]] std::string HeaderDate(std::int64_t seconds);

}  // namespace corvane
