// ChildProcess.h -- a second process of a test: a copy of this one that answers questions.
#pragma once

#include <functional>

namespace corvane::test {

class ChildProcess {
 public:
  // Forks. The child calls `answer` for each Ask and sends its result back; it ends with this
  // object. To be made while the test has one thread.
  explicit ChildProcess(const std::function<int(int)>& answer);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // The child's answer; -1 when it died over it.
  [[nodiscard]] int Ask(int question);
  // Ends the child at once and waits until it is gone.
  void Kill();

 private:
  void Close();

  int process_ = -1;
  int toChild_ = -1;
  int fromChild_ = -1;
};

// Runs `work` in a child and returns its result (0 to 255), or -1 when it was killed.
[[nodiscard]] int RunInChild(const std::function<int()>& work);

}  // namespace corvane::test
