// ClientSocket.h -- a client's connection, as far as a long piece of work looks after it.
//
// Somebody else's open socket; nothing here closes it. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace corvane::platform {

inline constexpr std::int32_t kErrorWouldBlock = 10035;

class ClientSocket {
 public:
  explicit ClientSocket(std::int64_t handle) : handle_(handle) {}

  // False, with LastError, when it can't be changed.
  [[nodiscard]] bool SetBlocking(bool blocking);
  // Bytes read; 0 when the other end has closed; -1 with LastError, kErrorWouldBlock when there is
  // nothing to read now.
  [[nodiscard]] std::int64_t Receive(void* buffer, std::size_t size);
  [[nodiscard]] std::int64_t Handle() const { return handle_; }

 private:
  std::int64_t handle_;
};

}  // namespace corvane::platform
