// AsNobody.h -- drops the rights of the superuser for a while, so that permissions bind a test that
// runs as root, and the programs that it starts.
#pragma once

#include <unistd.h>

namespace corvane::test {

class AsNobody {
 public:
  AsNobody() {
    // The real user too: a program whose two users differ can't be looked into by its own checkers.
    if (geteuid() == 0) changed_ = setresuid(kNobody, kNobody, 0) == 0;
  }
  ~AsNobody() {
    if (changed_ && setresuid(0, 0, 0) != 0) _exit(1);
  }
  AsNobody(const AsNobody&) = delete;
  AsNobody& operator=(const AsNobody&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
  bool changed_ = false;
};

}  // namespace corvane::test
