#include "platform/ServiceControl.h"

#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
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

int WaitForSignal(const sigset_t& signals) {
  int signalNumber = 0;
  while (sigwait(&signals, &signalNumber) != 0) {
  }
  return signalNumber;
}

}  // namespace

bool HasServiceManager() { return !NotifySocket().empty(); }

bool TellServiceManager(std::string_view state) {
  sockaddr_un address{};
  socklen_t length = 0;
  if (!MakeAddress(NotifySocket(), &address, &length)) return false;
  const Socket socket;
  if (socket.Descriptor() < 0) return FailWithErrno();
  const ssize_t sent =
      sendto(socket.Descriptor(), state.data(), state.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
             reinterpret_cast<const sockaddr*>(&address), length);
  return sent == static_cast<ssize_t>(state.size()) || FailWithErrno();
}

bool OnStopSignal(std::function<void(int signalNumber)> stop, std::function<void()> again) {
  std::signal(SIGPIPE, SIG_IGN);
  const sigset_t signals = StopSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return StartThread(kStopStackBytes, [signals, stop = std::move(stop), again = std::move(again)] {
    const int signalNumber = WaitForSignal(signals);
    // Without another thread to be had the stop itself matters most.
    if (!StartThread(kStopStackBytes, [&stop, signalNumber] { stop(signalNumber); })) {
      stop(signalNumber);
    }
    for (;;) {
      (void)WaitForSignal(signals);
      if (again) again();
    }
  });
}

namespace {

class SpawnPlan {
 public:
  SpawnPlan() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
  }
  ~SpawnPlan() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  // Output into `descriptor`, no input; signals as any program finds them, whatever this process
  // blocks and ignores.
  void Prepare(int descriptor) {
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions_, descriptor, STDOUT_FILENO);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes_, &none);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes_, &usual);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }

  int Run(const std::string& program, char* const* arguments, pid_t* child) {
    return posix_spawnp(child, program.c_str(), &actions_, &attributes_, arguments, environ);
  }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

std::string ReadToEnd(int descriptor) {
  std::string text;
  char buffer[1024];
  ssize_t got = 0;
  while ((got = read(descriptor, buffer, sizeof(buffer))) > 0 || (got < 0 && errno == EINTR)) {
    if (got > 0) text.append(buffer, static_cast<std::size_t>(got));
  }
  return text;
}

int WaitForEnd(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

std::optional<ToolResult> RunServiceTool(const std::string& program,
                                         const std::vector<std::string>& arguments) {
  std::vector<char*> words{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments)
    words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    FailWithErrno();
    return std::nullopt;
  }
  SpawnPlan plan;
  plan.Prepare(ends[1]);
  pid_t child = 0;
  const int failure = plan.Run(program, words.data(), &child);
  close(ends[1]);
  ToolResult result;
  if (failure == 0) {
    result.output = ReadToEnd(ends[0]);
    result.exitCode = WaitForEnd(child);
  }
  close(ends[0]);
  if (failure == 0) return result;
  SetLastError(ErrorFromErrno(failure));
  return std::nullopt;
}

}  // namespace corvane::platform
