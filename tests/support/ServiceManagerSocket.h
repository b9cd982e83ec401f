// ServiceManagerSocket.h -- the service manager's end of the socket that services report to.
#pragma once

#include <cstdlib>
#include <string>

#include "tests/support/DatagramSocket.h"

namespace corvane::test {

struct ServiceManagerSocket : DatagramSocket {
  explicit ServiceManagerSocket(const std::string& name) : DatagramSocket(name) {
    setenv("NOTIFY_SOCKET", name.c_str(), 1);
  }
  ~ServiceManagerSocket() { unsetenv("NOTIFY_SOCKET"); }
};

}  // namespace corvane::test
