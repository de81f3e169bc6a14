// A server that says exactly what a test tells it to, byte by byte, over a real connection. It runs on the
// caller's thread: a test that waits synchronously gives it one of its own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantorel::testing {

class Peer {
 public:
  // Listens on a free port of the loopback interface.
  Peer();
  ~Peer();
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  std::int32_t Port() const { return port_; }
  std::string Host() const { return "127.0.0.1:" + std::to_string(port_); }
  std::string Url(std::string_view path = "/") const { return "http://" + Host() + std::string(path); }

  // Waits for the next connection; what was open before is closed.
  void Accept();
  // Reads up to the blank line, or to the end of the connection if there is none.
  std::string ReadRequest();
  // Reads on until the other side has closed.
  std::string ReadToEnd();
  void Send(std::string_view bytes);
  // No more will be sent; reading goes on.
  void Finish();
  void Close();
  // Ends the connection as a crash does.
  void Reset();

  // Accept, ReadRequest, Send, Finish and ReadToEnd: returns the whole request.
  std::string Serve(std::string_view answer);

 private:
  int listener_;
  int connection_ = -1;
  std::int32_t port_ = 0;
};

}  // namespace vantorel::testing
