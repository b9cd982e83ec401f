// ConfigurationCommands.h -- the commands that make an installation and keep its configuration
// store.
#pragma once

#include <CLI/CLI.hpp>

namespace corvane::cvctl {

void AddInitCommand(CLI::App& app);
void AddPostofficeCommands(CLI::App& app);
void AddMailboxCommands(CLI::App& app);
void AddGroupCommands(CLI::App& app);
void AddDomainCommands(CLI::App& app);  // domain and map
void AddOptionCommands(CLI::App& app);

}  // namespace corvane::cvctl
