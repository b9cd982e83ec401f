// MachineTest.cpp -- identifiers, names, printed and formatted text.
#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "platform/Format.h"
#include "platform/Machine.h"
#include "platform/Reports.h"
#include "tests/support/Threads.h"

namespace corvane::platform {
namespace {

TEST(Machine, IdentifiersAreRandomOnesAndNeverTheSame) {
  constexpr std::size_t kThreads = 4;
  constexpr std::size_t kEach = 500;
  std::vector<std::array<std::uint8_t, 16>> made[kThreads];
  test::Threads(kThreads, [&](int number) {
    for (std::size_t i = 0; i < kEach; ++i) made[number].push_back(NewIdentifier());
  }).Join();
  std::set<std::array<std::uint8_t, 16>> all;
  for (const auto& list : made) {
    for (const auto& identifier : list) {
      EXPECT_EQ(identifier[6] >> 4, 4);
      EXPECT_EQ(identifier[8] >> 6, 2);
      all.insert(identifier);
    }
  }
  EXPECT_EQ(all.size(), kThreads * kEach);
}

TEST(Machine, ComputerNameIsUpperCaseWithoutDomain) {
  const std::string& name = ComputerName();
  EXPECT_FALSE(name.empty());
  EXPECT_EQ(name.find_first_of(".abcdefghijklmnopqrstuvwxyz"), std::string::npos);
}

TEST(Format, TextOfAnyLength) {
  for (const std::size_t length : {0U, 1U, 1023U, 1024U, 1025U, 100'000U}) {
    const std::string text(length, 'x');
    EXPECT_EQ(FormatText("%s", text.c_str()), text);
  }
}

TEST(Reports, ConsoleGetsTextAsItStands) {
  testing::internal::CaptureStdout();
  PrintConsole("100%s\n");
  PrintConsoleF("[%d]", 7);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "100%s\n[7]");
}

}  // namespace
}  // namespace corvane::platform
