// LocalSignal.h -- one short text to another program of this machine.
#pragma once

#include <string_view>

namespace corvane::platform {

// Sends `bytes` as one datagram to the Unix socket at `path` (product path); never waits.
//
// False with LastError: 2 or 3 no socket there or nobody behind it, 5 access denied, 32 its queue
// is full, 87 the text is too long for a datagram, 206 the path is too long for a socket.
[[nodiscard]] bool SendLocalSignal(std::string_view path, std::string_view bytes);

}  // namespace corvane::platform
