// WatchCommand.h -- cvctl watch: shows the signals about one mailbox as they come.
#pragma once

#include <CLI/CLI.hpp>

namespace corvane::cvctl {

void AddWatchCommand(CLI::App& app);

}  // namespace corvane::cvctl
