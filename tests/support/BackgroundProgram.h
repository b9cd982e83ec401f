// BackgroundProgram.h -- a program that runs beside a test, to be stopped or killed.
#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace corvane::test {

class BackgroundProgram {
 public:
  // Starts `arguments[0]`; its output goes to the file `outputPath`. The environment is the
  // caller's with `environment` added.
  BackgroundProgram(const std::vector<std::string>& arguments,
                    const std::vector<std::pair<std::string, std::string>>& environment,
                    const std::string& outputPath);
  ~BackgroundProgram();  // kills what still runs
  BackgroundProgram(const BackgroundProgram&) = delete;
  BackgroundProgram& operator=(const BackgroundProgram&) = delete;

  [[nodiscard]] bool IsRunning();
  // Sends a signal and waits for the end; the exit code, or minus the signal that ended it.
  int Signal(int signalNumber);

 private:
  pid_t process_ = -1;
  int outcome_ = 0;
};

}  // namespace corvane::test
