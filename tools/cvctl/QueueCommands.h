// QueueCommands.h -- cvctl queue.
#pragma once

#include <string>
#include <vector>

#include "cvctl/Command.h"

namespace corvane::cvctl {

void AddQueueCommands(CLI::App& app);

inline constexpr char kBracketGuard = '\x1f';

// The words of the command line behind the program's name. The command line library takes a word of
// a list that stands in brackets for a list itself; the items of `queue submit` carry a mark behind
// their bracket, which the command takes off.
[[nodiscard]] std::vector<std::string> GuardedWords(int argc, const char* const* argv);

}  // namespace corvane::cvctl
