#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "configuration/FileSizes.h"

namespace corvane::configuration {
namespace {

// Deletions close the gaps of the table; the same steps on a plain map must give the same answers.
TEST(FileSizes, AgreesWithAMapOverRandomSteps) {
  FileSizes sizes;
  std::map<std::string, std::uint64_t> expected;
  std::mt19937 random(7);
  for (int step = 0; step < 200'000; ++step) {
    const std::string name = std::to_string(random() % 3000) + ".MAI";
    const auto before = expected.find(name);
    const std::uint64_t old = before == expected.end() ? 0 : before->second;
    if (random() % 2 == 0) {
      const std::uint64_t size = random() % 1'000'000 + 1;
      ASSERT_EQ(sizes.Set(name, size), old) << step;
      expected[name] = size;
    } else {
      ASSERT_EQ(sizes.Erase(name), old) << step;
      expected.erase(name);
    }
    ASSERT_EQ(sizes.Count(), expected.size());
  }
  for (const auto& [name, size] : expected) ASSERT_EQ(sizes.Erase(name), size);
  EXPECT_EQ(sizes.Count(), 0u);
}

TEST(FileSizes, TakesLittleMemory) {
  FileSizes sizes;
  for (int i = 0; i < 20'000; ++i) sizes.Set(std::to_string(i), 1);
  EXPECT_LE(sizes.MemoryBytes(), 32'768u * 16u);
}

}  // namespace
}  // namespace corvane::configuration
