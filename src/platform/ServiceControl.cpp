#include "platform/ServiceControl.h"

#include <pthread.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <utility>

#include "platform/Error.h"
#include "platform/Machine.h"
#include "platform/Thread.h"

namespace corvane::platform {
namespace {

constexpr std::size_t kStopStackBytes = 1'000'000;

std::string NotifySocket() { return EnvironmentVariable("NOTIFY_SOCKET").value_or(""); }

// Fills in the address of the manager's socket; a name that begins with '@' is an abstract one.
bool MakeAddress(const std::string& name, sockaddr_un* address, socklen_t* length) {
  if (name.empty() || name.size() >= sizeof(address->sun_path)) {
    SetLastError(name.empty() ? kErrorFileNotFound : kErrorFilenameTooLong);
    return false;
  }
  *address = {};
  address->sun_family = AF_UNIX;
  std::memcpy(address->sun_path, name.data(), name.size());
  if (name.front() == '@') address->sun_path[0] = '\0';
  *length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
  return true;
}

class Socket {
 public:
  Socket() : descriptor_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
  ~Socket() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  [[nodiscard]] int Descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

sigset_t StopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

}  // namespace

bool HasServiceManager() { return !NotifySocket().empty(); }

bool TellServiceManager(std::string_view state) {
  sockaddr_un address{};
  socklen_t length = 0;
  if (!MakeAddress(NotifySocket(), &address, &length)) return false;
  const Socket socket;
  if (socket.Descriptor() < 0) return FailWithErrno();
  const ssize_t sent = sendto(socket.Descriptor(), state.data(), state.size(), MSG_NOSIGNAL,
                              reinterpret_cast<const sockaddr*>(&address), length);
  return sent == static_cast<ssize_t>(state.size()) || FailWithErrno();
}

bool OnStopSignal(std::function<void(int signalNumber)> stop) {
  std::signal(SIGPIPE, SIG_IGN);
  const sigset_t signals = StopSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return StartThread(kStopStackBytes, [signals, stop = std::move(stop)] {
    int signalNumber = 0;
    while (sigwait(&signals, &signalNumber) != 0) {
    }
    stop(signalNumber);
  });
}

}  // namespace corvane::platform
