// SettingsCommands.h -- cvctl settings: get, set, delete, list, import, export.
#pragma once

#include <CLI/CLI.hpp>

namespace corvane::cvctl {

void AddSettingsCommands(CLI::App& app);

}  // namespace corvane::cvctl
