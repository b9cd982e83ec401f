// AsNobody.h -- drops the rights of the superuser for a while, so that permissions bind a test that
// runs as root.
#pragma once

#include <unistd.h>

#include <cstdlib>

namespace corvane::test {

class AsNobody {
 public:
  AsNobody() {
    if (geteuid() == 0) changed_ = seteuid(65534) == 0;
    // A program started so can't be traced, and a leak check traces its own process.
    if (changed_) setenv("LSAN_OPTIONS", "detect_leaks=0", 1);
  }
  ~AsNobody() {
    if (!changed_) return;
    if (seteuid(0) != 0) _exit(1);
    unsetenv("LSAN_OPTIONS");
  }
  AsNobody(const AsNobody&) = delete;
  AsNobody& operator=(const AsNobody&) = delete;

 private:
  bool changed_ = false;
};

}  // namespace corvane::test
