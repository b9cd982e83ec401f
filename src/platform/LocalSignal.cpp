#include "platform/LocalSignal.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "platform/DirectoryLock.h"
#include "platform/Error.h"
#include "platform/Path.h"
#include "platform/PathSearch.h"

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

// Takes the address, from a dead program if need be; one program at a time, so that none removes
// what another has just made.
bool TakeAddress(int descriptor, const sockaddr_un& address) {
  const DirectoryLock turn(DirectoryOf(address.sun_path));
  if (Bind(descriptor, address)) return true;
  if (errno != EADDRINUSE) return FailWithErrno();
  struct stat state = {};
  if (lstat(address.sun_path, &state) == 0 && !S_ISSOCK(state.st_mode)) {
    return FailWith(kErrorFileExists);
  }
  if (IsAlive(address)) return FailWith(kErrorSharingViolation);
  if (unlink(address.sun_path) != 0 || !Bind(descriptor, address)) return FailWithErrno();
  return true;
}

// The socket's own number in its directory; 0 when there is none.
std::uint64_t InodeOf(const std::string& path) {
  struct stat state = {};
  return lstat(path.c_str(), &state) == 0 ? state.st_ino : 0;
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
    inode_ = InodeOf(path_);
  } else {
    close(descriptor);
  }
}

LocalSignalReceiver::~LocalSignalReceiver() {
  if (descriptor_ < 0) return;
  {
    const DirectoryLock turn(DirectoryOf(path_));
    if (InodeOf(path_) == inode_) unlink(path_.c_str());
  }
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
