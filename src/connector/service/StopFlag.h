// StopFlag.h -- the two words by which the poller and the stop routine meet.
#pragma once

#include <atomic>
#include <cstdint>

namespace corvane {

// 0 while the connector runs, 1 from the stop routine on. The poller looks at it and returns.
inline std::atomic<std::int32_t> StopFlag{0};
// 1 when the stop routine is through.
inline std::atomic<std::int32_t> StoppedFlag{0};

}  // namespace corvane
