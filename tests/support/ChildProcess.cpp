#include "tests/support/ChildProcess.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>
#include <utility>

namespace corvane::test {
namespace {

void Answer(int questions, int answers, const std::function<int(int)>& answer) {
  int question = 0;
  while (read(questions, &question, sizeof question) == sizeof question) {
    const int result = answer(question);
    if (write(answers, &result, sizeof result) != sizeof result) break;
  }
}

}  // namespace

ChildProcess::ChildProcess(const std::function<int(int)>& answer) {
  int questions[2];
  int answers[2];
  if (pipe(questions) != 0 || pipe(answers) != 0) throw std::runtime_error("no pipe");
  process_ = fork();
  if (process_ < 0) throw std::runtime_error("no process");
  if (process_ == 0) {
    close(questions[1]);
    close(answers[0]);
    Answer(questions[0], answers[1], answer);
    _exit(0);
  }
  close(questions[0]);
  close(answers[1]);
  toChild_ = questions[1];
  fromChild_ = answers[0];
}

ChildProcess::~ChildProcess() {
  Close();
  if (process_ > 0) waitpid(process_, nullptr, 0);
}

int ChildProcess::Ask(int question) {
  int result = -1;
  if (write(toChild_, &question, sizeof question) != sizeof question) return -1;
  return read(fromChild_, &result, sizeof result) == sizeof result ? result : -1;
}

void ChildProcess::Kill() {
  if (process_ <= 0) return;
  kill(process_, SIGKILL);
  waitpid(std::exchange(process_, -1), nullptr, 0);
  Close();
}

void ChildProcess::Close() {
  for (int* descriptor : {&toChild_, &fromChild_}) {
    if (*descriptor >= 0) close(std::exchange(*descriptor, -1));
  }
}

int RunInChild(const std::function<int()>& work) {
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("no process");
  if (process == 0) _exit(work());
  int status = 0;
  waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace corvane::test
