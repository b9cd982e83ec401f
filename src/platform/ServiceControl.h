// ServiceControl.h -- the service manager (systemd) and the signals that stop a program.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane::platform {

// Whether a service manager started this process and listens for its state (NOTIFY_SOCKET).
[[nodiscard]] bool HasServiceManager();
// One datagram of its protocol, such as "READY=1" or "STOPPING=1\nSTATUS=..."; false when it could
// not be sent. Never waits for a manager that doesn't listen.
bool TellServiceManager(std::string_view state);

// Calls `stop` on a thread of its own at the first SIGINT or SIGTERM, and `again`, if there is one,
// at each further one, even while `stop` is still at work. The signals no longer end the process,
// nor does writing to a pipe that nobody reads. Call before any other thread is started, so that
// none of them takes the signal. False when the thread could not be started (LastError).
[[nodiscard]] bool OnStopSignal(std::function<void(int signalNumber)> stop,
                                std::function<void()> again = nullptr);

// How a run of a program ended, and what it printed.
struct ToolResult {
  int exitCode = 0;
  std::string output;
};

// Runs a program of the service manager's (found along PATH when it is a bare name) to its end,
// with this process's standard error and no standard input. Nothing when it can't be started
// (LastError).
[[nodiscard]] std::optional<ToolResult> RunServiceTool(const std::string& program,
                                                       const std::vector<std::string>& arguments);

}  // namespace corvane::platform
