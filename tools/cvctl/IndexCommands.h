// IndexCommands.h -- cvctl index: the index of a folder's directory.
#pragma once

#include <CLI/CLI.hpp>

namespace corvane::cvctl {

void AddIndexCommands(CLI::App& app);

}  // namespace corvane::cvctl
