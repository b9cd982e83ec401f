#include "platform/LocalSignal.h"

#include <poll.h>
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

// Fills the address of a system path; false when it is too long for a socket.
bool SetPath(sockaddr_un& address, const std::string& systemPath) {
  address.sun_family = AF_UNIX;
  if (systemPath.size() >= sizeof address.sun_path) return FailWith(kErrorFilenameTooLong);
  std::memcpy(address.sun_path, systemPath.c_str(), systemPath.size() + 1);
  return true;
}

bool Bind(int descriptor, const sockaddr_un& address) {
  return bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// Whether a program listens at the address.
bool IsAlive(const sockaddr_un& address) {
  const int probe = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const bool alive =
      probe < 0 ||
      connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
      errno != ECONNREFUSED;
  if (probe >= 0) close(probe);
  return alive;
}

// Takes the address, from a dead program if need be.
bool TakeAddress(int descriptor, const sockaddr_un& address) {
  if (Bind(descriptor, address)) return true;
  if (errno != EADDRINUSE) return FailWithErrno();
  if (IsAlive(address)) return FailWith(kErrorSharingViolation);
  if (unlink(address.sun_path) != 0 || !Bind(descriptor, address)) return FailWithErrno();
  return true;
}

constexpr std::size_t kMostSignalBytes = 256 << 10;

}  // namespace

LocalSignalReceiver::LocalSignalReceiver(std::string_view path) {
  sockaddr_un address{};
  if (!SetPath(address, ResolvePath(path))) return;
  const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor < 0) {
    FailWithErrno();
  } else if (TakeAddress(descriptor, address)) {
    descriptor_ = descriptor;
    path_ = address.sun_path;
  } else {
    close(descriptor);
  }
}

LocalSignalReceiver::~LocalSignalReceiver() {
  if (descriptor_ < 0) return;
  unlink(path_.c_str());
  close(descriptor_);
}

std::optional<std::string> LocalSignalReceiver::Next(std::int32_t milliseconds) {
  pollfd waited{descriptor_, POLLIN, 0};
  if (poll(&waited, 1, milliseconds) <= 0) return std::nullopt;
  std::string text(kMostSignalBytes, '\0');
  const ssize_t length = recv(descriptor_, text.data(), text.size(), MSG_DONTWAIT);
  if (length < 0) return std::nullopt;
  text.resize(static_cast<std::size_t>(length));
  return text;
}

bool SendLocalSignal(std::string_view path, std::string_view bytes) {
  sockaddr_un address{};
  if (!SetPath(address, ResolvePath(path))) return false;
  const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (descriptor < 0) return FailWithErrno();
  const ssize_t sent = sendto(descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                              reinterpret_cast<const sockaddr*>(&address), sizeof address);
  const bool done = sent == static_cast<ssize_t>(bytes.size()) || FailToSend();
  close(descriptor);
  return done;
}

}  // namespace corvane::platform
