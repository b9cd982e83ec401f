// RunProgram.h -- runs a program to its end and keeps what it said.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace corvane::test {

struct ProgramResult {
  int exitCode = -1;  // -1: it could not be started or died of a signal
  std::string output;
  std::string errors;
};

// Runs `arguments[0]` with the other arguments and the caller's environment, changed by
// `environment` (an empty value takes a variable away). Standard input is empty, or `input`.
[[nodiscard]] ProgramResult RunProgram(
    const std::vector<std::string>& arguments,
    const std::vector<std::pair<std::string, std::string>>& environment = {},
    const std::string& input = {});

// The program that runs now: a test that needs a second process starts itself again.
[[nodiscard]] std::string ThisProgram();

}  // namespace corvane::test
