#include "tests/http/Peer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace vantorel::testing {
namespace {

constexpr int kLimitMilliseconds = 30'000;

int Checked(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

// A peer that waits in vain fails its test instead of hanging it.
void AwaitReadable(int descriptor) {
  pollfd wanted{descriptor, POLLIN, 0};
  if (Checked(poll(&wanted, 1, kLimitMilliseconds), "poll") == 0) throw std::runtime_error("nothing came");
}

// Empty at the end of the connection.
std::string ReadSome(int descriptor) {
  std::array<char, 65536> buffer;
  AwaitReadable(descriptor);
  const ssize_t count = recv(descriptor, buffer.data(), buffer.size(), 0);
  return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : std::string();
}

}  // namespace

Peer::Peer() : listener_(Checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* const plain = reinterpret_cast<sockaddr*>(&address);
  Checked(bind(listener_, plain, length), "bind");
  Checked(listen(listener_, 16), "listen");
  Checked(getsockname(listener_, plain, &length), "getsockname");
  port_ = ntohs(address.sin_port);
}

Peer::~Peer() {
  Close();
  close(listener_);
}

void Peer::Accept() {
  Close();
  AwaitReadable(listener_);
  connection_ = Checked(accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC), "accept");
  const int at_once = 1;
  setsockopt(connection_, IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof at_once);
}

std::string Peer::ReadRequest() {
  std::string request;
  while (request.find("\r\n\r\n") == std::string::npos) {
    const std::string more = ReadSome(connection_);
    if (more.empty()) break;
    request += more;
  }
  return request;
}

std::string Peer::ReadToEnd() {
  std::string all;
  for (std::string more = ReadSome(connection_); !more.empty(); more = ReadSome(connection_)) all += more;
  return all;
}

void Peer::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = send(connection_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0) return;  // the other side has gone, which is its right
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

void Peer::Finish() {
  shutdown(connection_, SHUT_WR);
}

void Peer::Close() {
  if (connection_ >= 0) close(connection_);
  connection_ = -1;
}

void Peer::Reset() {
  const linger at_once{1, 0};
  setsockopt(connection_, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  Close();
}

std::string Peer::Serve(std::string_view answer) {
  Accept();
  std::string request = ReadRequest();
  Send(answer);
  Finish();
  return request + ReadToEnd();
}

}  // namespace vantorel::testing
