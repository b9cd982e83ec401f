// What messages built to cost time or memory may take. Their times stand in the bench.
#include <gtest/gtest.h>

#include "tests/message/HeapMeter.h"
#include "tests/message/HostileMessages.h"

namespace corvane {
namespace {

TEST(HostileMessage, MemoryStaysBelowThreeTimesTheMessage) {
  for (const test::HostileMessage& hostile : test::HostileMessages()) {
    std::string text = hostile.make();
    std::size_t size = text.size();
    std::size_t before = test::HeapInUse();
    test::ResetHeapPeak();
    test::ReadEverything(std::move(text));
    // What was there before is the message itself, which Load takes over.
    std::size_t peak = test::HeapPeak() - before + size;
    EXPECT_LE(peak, size * 3 + 100'000) << hostile.name;
  }
}

}  // namespace
}  // namespace corvane
