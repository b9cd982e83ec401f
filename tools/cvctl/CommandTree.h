// CommandTree.h -- hangs one command of a family into the command line.
#pragma once

#include <CLI/CLI.hpp>

namespace corvane::cvctl {

// `arguments` receive what is typed and must live as long as the command line.
template <typename Arguments>
CLI::App* AddCommand(CLI::App* family, const char* name, const char* meaning,
                     const Arguments* arguments, void (*body)(const Arguments&)) {
  CLI::App* command = family->add_subcommand(name, meaning);
  command->callback([arguments, body] { body(*arguments); });
  return command;
}

inline CLI::App* AddFamily(CLI::App& app, const char* name, const char* meaning) {
  CLI::App* family = app.add_subcommand(name, meaning);
  family->require_subcommand(1);
  return family;
}

}  // namespace corvane::cvctl
