// What messages built to cost time or memory may take. Their times stand in the bench.
#include <gtest/gtest.h>

#include "tests/message/HeapMeter.h"
#include "tests/message/HostileMessages.h"

namespace corvane::test {
namespace {

TEST(HostileMessage, MemoryStaysBelowThreeTimesTheMessage) {
  for (const HostileMessage& hostile : HostileMessages()) {
    std::string text = hostile.make();
    std::size_t size = text.size();
    std::size_t before = HeapInUse();
    ResetHeapPeak();
    ReadEverything(std::move(text));
    // What was there before is the message itself, which Load takes over.
    std::size_t peak = HeapPeak() - before + size;
    EXPECT_LE(peak, size * 3 + 100'000) << hostile.name;
  }
}

}  // namespace
}  // namespace corvane::test
