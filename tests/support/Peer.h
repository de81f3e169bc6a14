// A server that says exactly what a test tells it to, byte by byte, over a real connection. It runs on the
// caller's thread: a test that waits synchronously gives it one of its own.
#pragma once

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/base/Descriptor.h"

namespace vantorel::testing {

class Peer {
 public:
  // Listens on the loopback interface of one family; port 0 stands for one that the system gives.
  explicit Peer(int family = AF_INET, std::int32_t port = 0, int backlog = 8)
      : listener_(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in6 address{};
    socklen_t length = sizeof address;
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    address.sin6_family = static_cast<sa_family_t>(family);
    address.sin6_port = htons(static_cast<std::uint16_t>(port));  // in the same place in both families
    address.sin6_addr = in6addr_loopback;
    if (family == AF_INET) reinterpret_cast<sockaddr_in*>(name)->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener_.Number(), name, length) != 0 || listen(listener_.Number(), backlog) != 0) {
      throw std::runtime_error("cannot listen");
    }
    getsockname(listener_.Number(), name, &length);
    port_ = ntohs(address.sin6_port);
  }

  std::int32_t Port() const { return port_; }
  std::string Host() const { return "127.0.0.1:" + std::to_string(port_); }
  std::string Url(std::string_view path = "/") const { return "http://" + Host() + std::string(path); }

  // Waits for the next connection; what was open before is closed.
  void Accept() {
    AwaitReadable(listener_);
    connection_ = Descriptor(accept4(listener_.Number(), nullptr, nullptr, SOCK_CLOEXEC));
    const int at_once = 1;
    setsockopt(connection_.Number(), IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof at_once);
  }
  // Reads until `end` was read, or to the end of the connection.
  std::string ReadUntil(const char* end) {
    std::string all;
    std::string chunk(65536, '\0');
    do {
      AwaitReadable(connection_);
      const ssize_t count = recv(connection_.Number(), chunk.data(), chunk.size(), 0);
      if (count <= 0) break;
      all.append(chunk, 0, static_cast<std::size_t>(count));
    } while (end == nullptr || all.find(end) == std::string::npos);
    return all;
  }
  std::string ReadRequest() { return ReadUntil("\r\n\r\n"); }
  // The other side may have gone, which is its right.
  void Send(std::string_view bytes) { send(connection_.Number(), bytes.data(), bytes.size(), MSG_NOSIGNAL); }
  void EndSending() { shutdown(connection_.Number(), SHUT_WR); }
  void Close() { connection_.Close(); }
  // Ends the connection as a crash does.
  void Reset() {
    const linger abort{1, 0};
    setsockopt(connection_.Number(), SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    Close();
  }
  // Answers one request, which it returns with whatever came after it.
  std::string Serve(std::string_view answer) {
    Accept();
    const std::string request = ReadRequest();
    Send(answer);
    EndSending();
    return request + ReadUntil(nullptr);
  }

 private:
  // Who waits in vain fails the test instead of hanging it.
  static void AwaitReadable(const Descriptor& descriptor) {
    pollfd wanted{descriptor.Number(), POLLIN, 0};
    if (poll(&wanted, 1, 30'000) == 0) throw std::runtime_error("nothing came");
  }

  Descriptor listener_;
  Descriptor connection_;
  std::int32_t port_ = 0;
};

}  // namespace vantorel::testing
