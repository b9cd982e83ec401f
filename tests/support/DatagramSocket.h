// DatagramSocket.h -- the listening end of a Unix datagram socket.
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <string>

namespace corvane::test {

class DatagramSocket {
 public:
  // At a path, or at a name of no directory that begins with '@'.
  explicit DatagramSocket(const std::string& name) : socket_(socket(AF_UNIX, SOCK_DGRAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, sizeof address.sun_path - 1);
    if (name.front() == '@') address.sun_path[0] = '\0';
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), length), 0) << name;
  }
  ~DatagramSocket() { close(socket_); }
  DatagramSocket(const DatagramSocket&) = delete;
  DatagramSocket& operator=(const DatagramSocket&) = delete;

  // The next text; "nothing" when none waits.
  std::string Next() const {
    std::string text(300'000, '\0');
    const ssize_t length = recv(socket_, text.data(), text.size(), MSG_DONTWAIT);
    return length < 0 ? "nothing" : text.substr(0, static_cast<std::size_t>(length));
  }

 private:
  int socket_;
};

}  // namespace corvane::test
