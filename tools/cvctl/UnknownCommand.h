// UnknownCommand.h -- a word that is no command, told in words of its own: the parser would only
// say that a command is missing.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace corvane::cvctl {

// Throws Failure(kUsage) when the words lead to no command; it names what there is. Returns where
// they ask for help.
void ExpectKnownCommand(CLI::App& app, const std::vector<std::string>& words);

}  // namespace corvane::cvctl
