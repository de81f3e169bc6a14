#include "tests/http/ServerProcess.h"

#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "tests/http/Peer.h"

namespace vantorel::testing {
namespace {

bool TakesConnections(std::int32_t port) {
  const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  const bool taken = connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(client);
  return taken;
}

}  // namespace

ServerProcess::ServerProcess(const std::function<std::vector<std::string>(std::int32_t)>& command)
    : port_(Peer().Port()) {
  std::vector<std::string> words = command(port_);
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  if (posix_spawnp(&process_, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
    throw std::runtime_error(words[0] + " cannot be started");
  }
  for (int tries = 0; !TakesConnections(port_); ++tries) {
    if (tries == 600 || waitpid(process_, nullptr, WNOHANG) != 0) {
      throw std::runtime_error(words[0] + " takes no connections");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

ServerProcess::~ServerProcess() {
  kill(process_, SIGTERM);
  waitpid(process_, nullptr, 0);
}

}  // namespace vantorel::testing
