// CvctlFixture.h -- the tool run as a program on an installation of its own.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/BuildPlaces.h"
#include "tests/support/RunProgram.h"
#include "tests/support/TemporaryDirectory.h"

namespace corvane::test {

using Words = std::vector<std::string>;

// A command that fails, and what its one line says.
struct Refusal {
  Words words;
  int exitCode;
  const char* says;
};

inline void ExpectRefused(const ProgramResult& result, const Refusal& refusal) {
  EXPECT_EQ(result.exitCode, refusal.exitCode) << refusal.says << ": " << result.errors;
  EXPECT_NE(result.errors.find(refusal.says), std::string::npos)
      << refusal.says << ": " << result.errors;
  EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  EXPECT_EQ(result.output, "") << refusal.says;
}

// Runs the tool with that settings store.
inline ProgramResult RunCvctl(Words words, const std::string& store = {},
                              const std::string& input = {}) {
  words.insert(words.begin(), ProgramFile("cvctl"));
  return RunProgram(words, {{"CORVANE_SETTINGS", store}}, input);
}

class Cvctl : public ::testing::Test {
 protected:
  Cvctl() {
    const auto init = Run({"init", Home()});
    EXPECT_EQ(init.exitCode, 0) << init.errors;
  }

  [[nodiscard]] std::string Home() const { return directory_ / "home"; }
  [[nodiscard]] ProgramResult Run(const Words& words, const std::string& input = {}) const {
    return RunCvctl(words, Home() + "/settings.db", input);
  }
  void Do(const Words& words, const std::string& input = {}) const {
    const auto result = Run(words, input);
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
  }
  [[nodiscard]] nlohmann::json Json(Words words) const {
    words.emplace_back("--json");
    const auto result = Run(words);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    return nlohmann::json::parse(result.output, nullptr, false);
  }
  void ExpectRefused(const Refusal& refusal) const {
    test::ExpectRefused(Run(refusal.words), refusal);
  }
  void FillStore() const {
    Do({"postoffice", "add", "acme"});
    Do({"mailbox", "add", "acme/anna", "--quota", "500"});
    Do({"group", "add", "acme/sales"});
  }

  TemporaryDirectory directory_;
};

}  // namespace corvane::test
