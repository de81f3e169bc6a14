// The look-up of one host name, without blocking: by c-ares, whose sockets and time limits hang on the event
// loop. It reads /etc/hosts and asks the name servers of /etc/resolv.conf, for each family apart, so that a
// server which stays silent for one does not hold the other up. It gives up after 10 seconds.
#pragma once

#include <poll.h>
#include <sys/socket.h>

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

  // Handles what has arrived and what is overdue.
  void Advance();
  // True once nothing more will be found.
  bool Ended() const { return under_way_ == 0; }
  // Takes the addresses found: best first, the families taking turns, IPv6 first, ports unset. Those of one
  // family are kept back for 50 ms in case the other's come too (RFC 8305, section 3).
  std::vector<SocketAddress> TakeAddresses();

  // Adds what a caller that waits by itself has to wait for.
  void DescribeWait(std::vector<pollfd>& descriptors) const;

 private:
  struct Watched {
    int descriptor;
    short events;
    std::unique_ptr<DescriptorWatch> watch;
  };

  static void OnResult(void* self, int status, int timeouts, ares_addrinfo* result);
  void Watch(int descriptor, short events);
  void ArmTimer();

  EventLoop::Handler wake_;
  LoopTimer timer_;
  ares_channeldata* channel_ = nullptr;
  std::vector<Watched> watched_;
  int under_way_ = 0;  // queries
  EventLoop::Clock::time_point give_up_at_;
  EventLoop::Clock::time_point hand_out_at_ = EventLoop::Clock::time_point::max();
  std::vector<SocketAddress> ipv6_;  // found and not taken yet
  std::vector<SocketAddress> ipv4_;
};

}  // namespace vantorel
