#include "platform/LocalSignal.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "platform/Error.h"
#include "platform/Path.h"

namespace corvane::platform {
namespace {

bool FailWith(std::int32_t error) {
  SetLastError(error);
  return false;
}

bool FailToSend() {
  switch (errno) {
    case ECONNREFUSED:
    case EPROTOTYPE:  // a socket of another kind
      return FailWith(kErrorFileNotFound);
    case EAGAIN:
      return FailWith(kErrorSharingViolation);
    case EMSGSIZE:
      return FailWith(kErrorInvalidParameter);
    default:
      return FailWithErrno();
  }
}

}  // namespace

bool SendLocalSignal(std::string_view path, std::string_view bytes) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string systemPath = ResolvePath(path);
  if (systemPath.size() >= sizeof address.sun_path) return FailWith(kErrorFilenameTooLong);
  std::memcpy(address.sun_path, systemPath.c_str(), systemPath.size() + 1);
  const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor < 0) return FailWithErrno();
  const ssize_t sent = sendto(descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                              reinterpret_cast<const sockaddr*>(&address), sizeof address);
  const bool done = sent == static_cast<ssize_t>(bytes.size()) || FailToSend();
  close(descriptor);
  return done;
}

}  // namespace corvane::platform
