#include "platform/ClientSocket.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cerrno>

#include "platform/Error.h"

namespace corvane::platform {

bool ClientSocket::SetBlocking(bool blocking) {
  const int descriptor = static_cast<int>(handle_);
  const int flags = fcntl(descriptor, F_GETFL);
  if (flags < 0) return FailWithErrno();
  const int wanted = blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK;
  return fcntl(descriptor, F_SETFL, wanted) == 0 || FailWithErrno();
}

std::int64_t ClientSocket::Receive(void* buffer, std::size_t size) {
  ssize_t got = 0;
  do {
    got = recv(static_cast<int>(handle_), buffer, size, 0);
  } while (got < 0 && errno == EINTR);
  if (got >= 0) return got;
  if (errno == EAGAIN || errno == EWOULDBLOCK) {
    SetLastError(kErrorWouldBlock);
  } else {
    FailWithErrno();
  }
  return -1;
}

}  // namespace corvane::platform
