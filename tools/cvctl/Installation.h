// Installation.h -- the installation that a command works on.
#pragma once

#include <string>

namespace corvane::cvctl {

// A Failure that says what to do when the settings can't be read.
void ExpectSettings();

// Reads where the queues lie, for the calls of the queue library; a Failure that says what to do
// when the settings can't be read or don't say it.
void LoadInstallation();

// "Connector Root Directory", after LoadInstallation.
[[nodiscard]] std::string QueueRoot();

}  // namespace corvane::cvctl
