// Host names, looked up in processes with a hosts file and a name server of their own.
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstring>
#include <string>
#include <thread>

#include "platform/run/EventLoop.h"
#include "platform/run/TCPSocket.h"
#include "tests/support/Peer.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

constexpr int kIPv4 = 1;  // types of records
constexpr int kIPv6 = 28;

// A name server on the loopback interface. It answers queries of one type, with the loopback's address, and
// stays silent for all others.
class NameServer {
 public:
  explicit NameServer(int answered) : answered_(answered), socket_(socket(AF_INET, SOCK_DGRAM, 0)) {
    const sockaddr_in address{AF_INET, htons(53), {htonl(INADDR_LOOPBACK)}, {}};
    EXPECT_EQ(bind(socket_.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    std::thread([this] { Serve(); }).detach();  // ends with the process
  }

  // How many queries of that type have come.
  int Queries(int type) const { return queries_[static_cast<std::size_t>(type)]; }

 private:
  [[noreturn]] void Serve() {
    for (;;) {
      std::string query(512, '\0');
      sockaddr_in client{};
      socklen_t length = sizeof client;
      auto* const name = reinterpret_cast<sockaddr*>(&client);
      const ssize_t size = recvfrom(socket_.Number(), query.data(), query.size(), 0, name, &length);
      if (size <= 0) continue;
      const std::size_t type_at = query.find('\0', 12) + 1;  // behind the name, which ends in an empty label
      const int type = query.at(type_at + 1);
      ++queries_.at(static_cast<std::size_t>(type));
      if (type != answered_) continue;
      const std::string rdata =
          type == kIPv4 ? std::string("\x7f\0\0\x01", 4) : std::string(15, '\0') + '\x01';
      const std::string answer = query.substr(0, 2) + std::string("\x81\x80\0\x01\0\x01\0\0\0\0", 10) +
                                 query.substr(12, type_at + 4 - 12) + "\xc0\x0c" + query.substr(type_at, 4) +
                                 std::string(5, '\0') + static_cast<char>(rdata.size()) + rdata;
      sendto(socket_.Number(), answer.data(), answer.size(), 0, name, length);
    }
  }

  int answered_;
  Descriptor socket_;
  std::array<std::atomic<int>, 256> queries_{};
};

// Leaves this process with a loopback interface, a hosts file and a name server of its own.
bool EnterOwnSurroundings(const std::string& hosts) {
  const ScratchFolder folder;
  const auto replace = [&](const char* file, const std::string& text) {
    const char* const name = std::strrchr(file, '/') + 1;
    folder.Write(name, text);
    return mount(folder.Path(name).c_str(), file, nullptr, MS_BIND, nullptr) == 0;
  };
  ifreq loopback{};
  std::strcpy(loopback.ifr_name, "lo");
  loopback.ifr_flags = IFF_UP;
  constexpr int kOwn = CLONE_NEWNS | CLONE_NEWNET;
  return (unshare(kOwn) == 0 || unshare(CLONE_NEWUSER | kOwn) == 0) &&
         ioctl(Descriptor(socket(AF_INET, SOCK_DGRAM, 0)).Number(), SIOCSIFFLAGS, &loopback) == 0 &&
         mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 && replace("/etc/hosts", hosts) &&
         replace("/etc/resolv.conf", "nameserver 127.0.0.1\n");
}

enum class Wait { kEvents, kPolling };

struct Case {
  const char* fault;
  const char* hosts;
  int answered;
  int listens;
  Wait wait;
  std::int32_t error;
  int most_ipv6_queries;  // more are sent only by those who wait for too long
};

// Connects to two.test.
void Try(const Case& one) {
  ASSERT_TRUE(EnterOwnSurroundings(one.hosts)) << "the system grants no namespaces, which this test needs";
  NameServer server(one.answered);
  const Peer peer(one.listens);
  const auto client = New<TCPSocket>();
  client->SetAddress("two.test");
  client->SetPort(peer.Port());
  client->Connect();
  const auto ended = [&] { return client->IsConnected() || client->LastErrorCode() != 0; };
  while (one.wait == Wait::kPolling && !ended()) client->Poll();
  EventLoop::Current().RunUntil(ended);
  EXPECT_EQ(client->LastErrorCode(), one.error);
  EXPECT_LE(server.Queries(kIPv6), one.most_ipv6_queries);
}

TEST(Resolver, FindsEveryAddressAndWaitsForNobodyForLong) {
  const Case cases[] = {
      {"an address that refuses hides the next", "::1 two.test\n127.0.0.1 two.test\n", 0, AF_INET,
       Wait::kEvents, 0, 0},
      {"silence for IPv6 holds IPv4 up", "", kIPv4, AF_INET, Wait::kEvents, 0, 2},
      {"silence for IPv6 holds IPv4 up in a synchronous wait", "", kIPv4, AF_INET, Wait::kPolling, 0, 2},
      {"silence for IPv4 holds IPv6 up", "", kIPv6, AF_INET6, Wait::kEvents, 0, 1},
      {"a silent server is asked for ever", "", 0, AF_INET, Wait::kEvents, SocketCore::kNameResolutionFailed,
       3},
  };
  for (const Case& one : cases) {
    const pid_t child = fork();
    if (child == 0) {
      Try(one);
      fflush(stdout);
      _exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << one.fault;
  }
}

}  // namespace
}  // namespace vantorel::testing
