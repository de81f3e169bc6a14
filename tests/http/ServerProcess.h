// A server of the system as a child process on a free port of the loopback interface. It ends with this
// object.
#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "tests/http/RecordingSocket.h"
#include "tests/support/Peer.h"

namespace vantorel::testing {

class ServerProcess {
 public:
  // Starts the shell's command for the port, and waits until it takes connections.
  explicit ServerProcess(const std::function<std::string(const std::string& port)>& command)
      : port_(Peer().Port()) {
    std::string line = "exec " + command(std::to_string(port_)) + " >/dev/null 2>&1";
    std::string shell = "/bin/sh";
    std::string option = "-c";
    char* const arguments[] = {shell.data(), option.data(), line.data(), nullptr};
    posix_spawn(&process_, "/bin/sh", nullptr, nullptr, arguments, environ);
    const auto socket = New<RecordingSocket>();
    while (socket->GetHeaders(String::Bytes(Url("/")), 20) == nil) {
      if (waitpid(process_, nullptr, WNOHANG) != 0) throw std::runtime_error("ended early: " + line);
      usleep(20'000);
    }
  }
  ~ServerProcess() {
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
  }
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  std::int32_t Port() const { return port_; }
  std::string Url(const std::string& path, const std::string& host = "127.0.0.1") const {
    return "http://" + host + ":" + std::to_string(port_) + path;
  }

 private:
  std::int32_t port_;
  pid_t process_ = -1;
};

}  // namespace vantorel::testing
