#include "tests/support/BackgroundProgram.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace corvane::test {
namespace {

int Outcome(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status); }

}  // namespace

BackgroundProgram::BackgroundProgram(
    const std::vector<std::string>& arguments,
    const std::vector<std::pair<std::string, std::string>>& environment,
    const std::string& outputPath) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  process_ = fork();
  if (process_ < 0) throw std::runtime_error("no process to be had");
  if (process_ > 0) return;
  const int output = open(outputPath.c_str(), O_CREAT | O_WRONLY | O_APPEND, 0644);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
  execv(argv[0], argv.data());
  _exit(127);
}

BackgroundProgram::~BackgroundProgram() {
  if (process_ > 0) Signal(SIGKILL);
}

bool BackgroundProgram::IsRunning() {
  if (process_ < 0) return false;
  int status = 0;
  if (waitpid(process_, &status, WNOHANG) != process_) return true;
  outcome_ = Outcome(status);
  process_ = -1;
  return false;
}

int BackgroundProgram::Signal(int signalNumber) {
  if (process_ > 0) {
    kill(process_, signalNumber);
    int status = 0;
    waitpid(process_, &status, 0);
    outcome_ = Outcome(status);
    process_ = -1;
  }
  return outcome_;
}

}  // namespace corvane::test
