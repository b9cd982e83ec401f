// Command.h -- what the commands of cvctl share: exit codes, the one error type, JSON output.
//
// Each family of commands has a file and one function Add...Commands that hangs them into the
// command line. A command body prints its answer and returns, or throws Failure; main() turns that
// into one line on standard error and the exit code.
#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace corvane::cvctl {

enum ExitCode : int {
  kDone = 0,
  kNotFound = 1,  // not found, or a check failed
  kUsage = 2,     // wrong usage or unusable input
  kTrouble = 3,   // anything else
};

// The message is one line that says what to do next; empty for an exit code without a word.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  [[nodiscard]] ExitCode Code() const { return code_; }

 private:
  ExitCode code_;
};

// One JSON document on standard output, with a line end. Bytes that are no UTF-8 become U+FFFD.
void PrintJson(const nlohmann::ordered_json& document);

// The same on one line, for a command that prints one after the other.
void PrintJsonLine(const nlohmann::ordered_json& document);

// Flag --json of a command.
inline void AddJsonFlag(CLI::App* command, bool* json) {
  command->add_flag("--json", *json, "print one JSON document");
}

}  // namespace corvane::cvctl
