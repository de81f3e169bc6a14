#include "platform/run/Resolver.h"

#include <ares.h>
#include <netdb.h>
#include <strings.h>
#include <sys/epoll.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <system_error>
#include <utility>

namespace vantorel {

namespace {

constexpr std::chrono::seconds kLookUpLimit(10);
// After so many milliseconds the next name server is asked.
constexpr int kQueryTimeout = 2500;
constexpr std::chrono::milliseconds kResolutionDelay(50);

SocketAddress Copy(const sockaddr* address, socklen_t length) {
  SocketAddress copy{};
  copy.length = std::min<socklen_t>(length, sizeof copy.storage);
  std::memcpy(&copy.storage, address, copy.length);
  return copy;
}

std::uint32_t EpollEvents(short events) {
  return ((events & POLLIN) != 0 ? EPOLLIN : 0U) | ((events & POLLOUT) != 0 ? EPOLLOUT : 0U);
}

}  // namespace

std::vector<SocketAddress> KnownAddresses(const std::string& host) {
  if (strcasecmp(host.c_str(), "localhost") == 0) {
    std::vector<SocketAddress> both = KnownAddresses("::1");
    both.push_back(KnownAddresses("127.0.0.1").front());
    return both;
  }
  addrinfo hints{};
  hints.ai_flags = AI_NUMERICHOST;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0) return {};
  std::vector<SocketAddress> result = {Copy(found->ai_addr, found->ai_addrlen)};
  freeaddrinfo(found);
  return result;
}

Resolver::Resolver(const std::string& host, EventLoop::Handler wake)
    : wake_(std::move(wake)), timer_(wake_), give_up_at_(EventLoop::Clock::now() + kLookUpLimit) {
  ares_options options{};
  options.timeout = kQueryTimeout;
  // Called for each of its sockets when what it waits for changes; for nothing before it closes one.
  options.sock_state_cb = [](void* self, int descriptor, int readable, int writable) {
    const int events = (readable != 0 ? POLLIN : 0) | (writable != 0 ? POLLOUT : 0);
    static_cast<Resolver*>(self)->Watch(descriptor, static_cast<short>(events));
  };
  options.sock_state_cb_data = this;
  if (ares_init_options(&channel_, &options, ARES_OPT_TIMEOUTMS | ARES_OPT_SOCK_STATE_CB) == ARES_SUCCESS) {
    ares_addrinfo_hints hints{};
    hints.ai_socktype = SOCK_STREAM;
    under_way_ = 2;
    for (const int family : {AF_INET6, AF_INET}) {
      hints.ai_family = family;
      ares_getaddrinfo(channel_, host.c_str(), nullptr, &hints, OnResult, this);
    }
  } else {
    channel_ = nullptr;
  }
  ArmTimer();
}

Resolver::~Resolver() {
  if (channel_ != nullptr) ares_destroy(channel_);
}

void Resolver::Advance() {
  if (Ended()) return;
  std::vector<pollfd> ready;
  DescribeWait(ready);
  poll(ready.data(), ready.size(), 0);
  for (const pollfd& one : ready) {
    if (one.revents == 0) continue;
    const bool writable = (one.revents & POLLOUT) != 0;
    // An error or a hang-up is found out by reading.
    const bool readable = (one.revents & ~POLLOUT) != 0;
    ares_process_fd(channel_, readable ? one.fd : ARES_SOCKET_BAD, writable ? one.fd : ARES_SOCKET_BAD);
  }
  ares_process_fd(channel_, ARES_SOCKET_BAD, ARES_SOCKET_BAD);  // what is overdue
  if (EventLoop::Clock::now() >= give_up_at_) ares_cancel(channel_);
  ArmTimer();
}

std::vector<SocketAddress> Resolver::TakeAddresses() {
  std::vector<SocketAddress> taken;
  if (!Ended() && EventLoop::Clock::now() < hand_out_at_) return taken;
  for (std::size_t i = 0; i < std::max(ipv6_.size(), ipv4_.size()); ++i) {
    if (i < ipv6_.size()) taken.push_back(ipv6_[i]);
    if (i < ipv4_.size()) taken.push_back(ipv4_[i]);
  }
  ipv6_.clear();
  ipv4_.clear();
  hand_out_at_ = EventLoop::Clock::time_point::max();
  return taken;
}

void Resolver::DescribeWait(std::vector<pollfd>& descriptors) const {
  for (const Watched& one : watched_) descriptors.push_back({one.descriptor, one.events, 0});
}

void Resolver::Watch(int descriptor, short events) {
  const auto known = std::find_if(watched_.begin(), watched_.end(),
                                  [&](const Watched& one) { return one.descriptor == descriptor; });
  if (events == 0) {
    if (known != watched_.end()) watched_.erase(known);
  } else if (known != watched_.end()) {
    known->events = events;
    known->watch->SetEvents(EpollEvents(events));
  } else {
    try {
      watched_.push_back(
          {descriptor, events, std::make_unique<DescriptorWatch>(descriptor, EpollEvents(events), wake_)});
    } catch (const std::system_error&) {
      give_up_at_ = {};  // nothing would tell of the answer
    }
  }
}

// Called by c-ares once a query; also from inside ares_getaddrinfo when the answer is at hand, from
// ares_cancel and from ares_destroy.
void Resolver::OnResult(void* self, int status, int /*timeouts*/, ares_addrinfo* result) {
  if (status == ARES_EDESTRUCTION) return;
  auto* resolver = static_cast<Resolver*>(self);
  --resolver->under_way_;
  if (result == nullptr) return;
  for (const ares_addrinfo_node* node = result->nodes; node != nullptr; node = node->ai_next) {
    auto& found = node->ai_family == AF_INET6 ? resolver->ipv6_ : resolver->ipv4_;
    found.push_back(Copy(node->ai_addr, node->ai_addrlen));
    resolver->hand_out_at_ = std::min(resolver->hand_out_at_, EventLoop::Clock::now() + kResolutionDelay);
  }
  ares_freeaddrinfo(result);
}

// The outcome is fetched from the loop, also when it was there from the first.
void Resolver::ArmTimer() {
  if (Ended()) return timer_.StartIn(0);
  EventLoop::Clock::time_point next = std::min(give_up_at_, hand_out_at_);
  timeval limit{};
  if (ares_timeout(channel_, nullptr, &limit) != nullptr) {
    const std::chrono::milliseconds left(limit.tv_sec * 1000 + limit.tv_usec / 1000 + 1);
    next = std::min(next, EventLoop::Clock::now() + left);
  }
  timer_.StartAt(next);
}

}  // namespace vantorel
