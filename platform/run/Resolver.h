// The look-up of one host name, without blocking: by c-ares, whose sockets and time limits hang on the event
// loop. It reads /etc/hosts and asks the name servers of /etc/resolv.conf.
#pragma once

#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "platform/run/DescriptorWatch.h"
#include "platform/run/LoopTimer.h"

struct ares_channeldata;
struct ares_addrinfo;

namespace vantorel {

struct SocketAddress {
  sockaddr_storage storage;
  socklen_t length;
};

// The addresses that need no look-up: the one that `host` spells in digits, of either family, or for
// localhost the two of the loopback (RFC 6761, section 6.3). None for any other name. Ports are unset.
std::vector<SocketAddress> KnownAddresses(const std::string& host);

class Resolver {
 public:
  // Starts at once. `wake` runs from the event loop whenever Advance has something to do.
  Resolver(const std::string& host, EventLoop::Handler wake);
  // Gives up.
  ~Resolver();
  Resolver(const Resolver&) = delete;
  Resolver& operator=(const Resolver&) = delete;

  // Handles what has arrived and what is overdue. True once the look-up has ended.
  bool Advance();

  // The addresses found, best first, both families mixed, ports unset; none if the look-up failed.
  const std::vector<SocketAddress>& Addresses() const { return addresses_; }

  // Adds what a caller that waits by itself has to wait for, and lowers its time limit.
  void DescribeWait(std::vector<pollfd>& descriptors, std::chrono::milliseconds& limit) const;

 private:
  struct Watched {
    int descriptor;
    short events;
    std::unique_ptr<DescriptorWatch> watch;
  };

  static void OnSocketState(void* self, int descriptor, int readable, int writable);
  static void OnResult(void* self, int status, int timeouts, ares_addrinfo* result);
  void Watch(int descriptor, short events);
  void End();
  void ArmTimer();

  EventLoop::Handler wake_;
  LoopTimer timer_;
  ares_channeldata* channel_ = nullptr;
  std::vector<Watched> watched_;
  bool ended_ = false;
  std::vector<SocketAddress> addresses_;
};

}  // namespace vantorel
