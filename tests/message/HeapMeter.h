// HeapMeter.h -- how much memory a piece of a test holds at its peak.
//
// A test program that includes this counts every operator new; under a sanitizer nothing is counted
// and all figures are 0. One thread.
#pragma once

#include <cstddef>

namespace corvane::test {

[[nodiscard]] std::size_t HeapInUse();
// The most that was in use since ResetHeapPeak.
[[nodiscard]] std::size_t HeapPeak();
void ResetHeapPeak();

}  // namespace corvane::test
