// TimedWait.h -- the product's sleep.
#pragma once

#include <cstdint>

namespace corvane {

// Sleeps for the time given; nothing cuts it short. Follows the clock in force (platform/Clock.h).
void TimedWait(std::uint32_t milliseconds);

}  // namespace corvane
