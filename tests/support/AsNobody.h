// AsNobody.h -- drops the rights of the superuser for a while, so that permissions bind a test that
// runs as root.
#pragma once

#include <unistd.h>

namespace corvane::test {

class AsNobody {
 public:
  AsNobody() {
    if (geteuid() == 0) changed_ = seteuid(65534) == 0;
  }
  ~AsNobody() {
    if (changed_ && seteuid(0) != 0) _exit(1);
  }
  AsNobody(const AsNobody&) = delete;
  AsNobody& operator=(const AsNobody&) = delete;

 private:
  bool changed_ = false;
};

}  // namespace corvane::test
