// MessageCommands.h -- cvctl message: what a message file holds.
#pragma once

#include <CLI/CLI.hpp>

namespace corvane::cvctl {

void AddMessageCommands(CLI::App& app);

}  // namespace corvane::cvctl
