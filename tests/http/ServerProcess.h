// A server of the system as a child process on a free port of the loopback interface. It ends with this
// object.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vantorel::testing {

class ServerProcess {
 public:
  // Starts what `command` gives for the port, and waits until it takes connections.
  explicit ServerProcess(const std::function<std::vector<std::string>(std::int32_t port)>& command);
  ~ServerProcess();
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
