// ServiceControl.h -- the service manager (systemd) and the signals that stop a program.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace corvane::platform {

// Whether a service manager started this process and listens for its state (NOTIFY_SOCKET).
[[nodiscard]] bool HasServiceManager();
// One datagram of its protocol, such as "READY=1" or "STOPPING=1\nSTATUS=..."; false when it could
// not be sent.
bool TellServiceManager(std::string_view state);

// Calls `stop` on a thread of its own at the first SIGINT or SIGTERM; the signals no longer end the
// process, nor does writing to a pipe that nobody reads. Call before any other thread is started,
// so that none of them takes the signal. False when the thread could not be started (LastError).
[[nodiscard]] bool OnStopSignal(std::function<void(int signalNumber)> stop);

}  // namespace corvane::platform
