// QueueCommands.h -- cvctl queue.
#pragma once

#include "cvctl/Command.h"

namespace corvane::cvctl {

void AddQueueCommands(CLI::App& app);

}  // namespace corvane::cvctl
