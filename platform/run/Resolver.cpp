#include "platform/run/Resolver.h"

#include <ares.h>
#include <netdb.h>
#include <strings.h>
#include <sys/epoll.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace vantorel {

namespace {

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

Resolver::Resolver(const std::string& host, EventLoop::Handler wake) : wake_(std::move(wake)), timer_(wake_) {
  ares_options options{};
  options.sock_state_cb = OnSocketState;
  options.sock_state_cb_data = this;
  if (ares_init_options(&channel_, &options, ARES_OPT_SOCK_STATE_CB) != ARES_SUCCESS) {
    channel_ = nullptr;
    End();
    return;
  }
  ares_addrinfo_hints hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  ares_getaddrinfo(channel_, host.c_str(), nullptr, &hints, OnResult, this);
  ArmTimer();
}

Resolver::~Resolver() {
  if (channel_ != nullptr) ares_destroy(channel_);
}

bool Resolver::Advance() {
  if (ended_) return true;
  std::vector<pollfd> ready;
  for (const Watched& one : watched_) ready.push_back({one.descriptor, one.events, 0});
  poll(ready.data(), ready.size(), 0);
  for (const pollfd& one : ready) {
    if (one.revents == 0) continue;
    const bool writable = (one.revents & POLLOUT) != 0;
    // An error or a hang-up is found out by reading.
    const bool readable = (one.revents & ~POLLOUT) != 0;
    ares_process_fd(channel_, readable ? one.fd : ARES_SOCKET_BAD, writable ? one.fd : ARES_SOCKET_BAD);
  }
  ares_process_fd(channel_, ARES_SOCKET_BAD, ARES_SOCKET_BAD);  // what is overdue
  if (!ended_) ArmTimer();
  return ended_;
}

void Resolver::DescribeWait(std::vector<pollfd>& descriptors, std::chrono::milliseconds& limit) const {
  if (ended_) limit = std::chrono::milliseconds::zero();
  for (const Watched& one : watched_) descriptors.push_back({one.descriptor, one.events, 0});
}

// Called by c-ares for each of its sockets when what it waits for changes; for nothing before it closes one.
void Resolver::OnSocketState(void* self, int descriptor, int readable, int writable) {
  const int events = (readable != 0 ? POLLIN : 0) | (writable != 0 ? POLLOUT : 0);
  static_cast<Resolver*>(self)->Watch(descriptor, static_cast<short>(events));
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
    watched_.push_back(
        {descriptor, events, std::make_unique<DescriptorWatch>(descriptor, EpollEvents(events), wake_)});
  }
}

// Called by c-ares once; also from inside ares_getaddrinfo when the answer is at hand, and from ares_destroy.
void Resolver::OnResult(void* self, int status, int /*timeouts*/, ares_addrinfo* result) {
  if (status == ARES_EDESTRUCTION) return;
  auto* resolver = static_cast<Resolver*>(self);
  if (status == ARES_SUCCESS && result != nullptr) {
    for (const ares_addrinfo_node* node = result->nodes; node != nullptr; node = node->ai_next) {
      resolver->addresses_.push_back(Copy(node->ai_addr, node->ai_addrlen));
    }
  }
  if (result != nullptr) ares_freeaddrinfo(result);
  resolver->End();
}

// The result is fetched from the loop, also when it was there from the first.
void Resolver::End() {
  ended_ = true;
  timer_.StartIn(0);
}

void Resolver::ArmTimer() {
  timeval limit{};
  if (ended_ || ares_timeout(channel_, nullptr, &limit) == nullptr) return;
  timer_.StartIn(limit.tv_sec * 1000 + limit.tv_usec / 1000 + 1);
}

}  // namespace vantorel
