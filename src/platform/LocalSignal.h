// LocalSignal.h -- one short text to another program of this machine, and the program that takes
// them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace corvane::platform {

// Sends `bytes` as one datagram to the Unix socket at `path` (product path); never waits.
//
// False with LastError: 2 or 3 no socket there or nobody behind it, 5 access denied, 32 its queue
// is full, 87 the text is too long for a datagram, 206 the path is too long for a socket.
[[nodiscard]] bool SendLocalSignal(std::string_view path, std::string_view bytes);

// The end that takes signals, at a Unix socket of its own. Belongs to one thread; the socket goes
// with it.
class LocalSignalReceiver {
 public:
  // Listens at `path`; a socket that a dead program left there is replaced. Not open on failure: 2
  // or 3 no such directory, 5 access denied, 32 another program listens there, 80 something lies
  // there that is no socket, 206 the path is too long.
  explicit LocalSignalReceiver(std::string_view path);
  ~LocalSignalReceiver();
  LocalSignalReceiver(const LocalSignalReceiver&) = delete;
  LocalSignalReceiver& operator=(const LocalSignalReceiver&) = delete;

  [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }
  // The next signal; nothing when none came in that time.
  [[nodiscard]] std::optional<std::string> Next(std::int32_t milliseconds);

 private:
  int descriptor_ = -1;
  std::string path_;
  std::uint64_t inode_ = 0;  // of the socket at the path, which may be another's by the end
};

}  // namespace corvane::platform
