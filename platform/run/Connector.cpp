#include "platform/run/Connector.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstddef>
#include <system_error>
#include <utility>

namespace vantorel {

namespace {

// How long an address may keep the next one waiting: the recommended value of RFC 8305, section 5.
constexpr std::chrono::milliseconds kAttemptDelay(250);
// How often the kernel calls an address again that does not answer. With 1, 2, 4 and 8 seconds in between it
// gives up after 15.
constexpr int kRepeatedCalls = 3;
constexpr std::int32_t kLargestPort = 65535;

void SetPort(SocketAddress& address, std::int32_t port) {
  static_assert(offsetof(sockaddr_in, sin_port) == offsetof(sockaddr_in6, sin6_port));
  reinterpret_cast<sockaddr_in&>(address.storage).sin_port = htons(static_cast<std::uint16_t>(port));
}

// True once the attempt has ended; `error_number` is then 0 or says why it failed.
bool Ended(int descriptor, int& error_number) {
  pollfd ready{descriptor, POLLOUT, 0};
  if (poll(&ready, 1, 0) <= 0) return false;
  socklen_t length = sizeof error_number;
  if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error_number, &length) != 0) error_number = errno;
  // Made, and reset by the peer since then: what it sent before that is there to be received.
  if (error_number == ECONNRESET || error_number == EPIPE) error_number = 0;
  return true;
}

}  // namespace

Connector::Connector(const std::string& host, std::int32_t port, EventLoop::Handler wake)
    : port_(port), wake_(std::move(wake)), timer_(wake_) {
  if (port < 1 || port > kLargestPort) {
    Settle(State::kFailed, SocketCore::kBadPort);
  } else if (host.empty() || host.find('\0') != std::string::npos) {
    Settle(State::kFailed, SocketCore::kNameResolutionFailed);
  } else if (addresses_ = KnownAddresses(host); addresses_.empty()) {
    resolver_ = std::make_unique<Resolver>(host, wake_);
  } else {
    TryNextAddress();
  }
}

Connector::State Connector::Advance() {
  if (resolver_ != nullptr) {
    resolver_->Advance();
    const std::vector<SocketAddress> found = resolver_->TakeAddresses();
    addresses_.insert(addresses_.end(), found.begin(), found.end());
    if (resolver_->Ended()) resolver_.reset();
  }
  LookAtAttempts();
  if (state_ == State::kPending) TryNextAddress();
  return state_;
}

void Connector::DescribeWait(std::vector<pollfd>& descriptors, std::chrono::milliseconds& limit) const {
  if (resolver_ != nullptr) resolver_->DescribeWait(descriptors);
  if (state_ != State::kPending) limit = std::chrono::milliseconds::zero();
  for (const Attempt& attempt : attempts_) descriptors.push_back({attempt.descriptor.Number(), POLLOUT, 0});
}

// The outcome is fetched from the loop, also when it was there from the first.
void Connector::Settle(State state, SocketCore::ErrorCode error) {
  state_ = state;
  error_ = error;
  attempts_.clear();
  timer_.StartIn(0);
}

// Goes on to the next address that can be tried at all, if it is time. Fails if none is left, none is being
// tried and no more will be found.
void Connector::TryNextAddress() {
  const auto now = EventLoop::Clock::now();
  while (next_address_ < addresses_.size() && now >= next_start_) {
    if (StartAttempt(addresses_[next_address_++])) next_start_ = now + kAttemptDelay;
  }
  if (next_address_ < addresses_.size()) {
    timer_.StartAt(next_start_);
  } else if (attempts_.empty() && resolver_ == nullptr) {
    Settle(State::kFailed, addresses_.empty() ? SocketCore::kNameResolutionFailed : error_);
  }
}

bool Connector::StartAttempt(SocketAddress address) {
  SetPort(address, port_);
  Descriptor descriptor(
      socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
  // A request in two writes must not wait for the answer to the first.
  const int on = 1;
  setsockopt(descriptor.Number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  setsockopt(descriptor.Number(), IPPROTO_TCP, TCP_SYNCNT, &kRepeatedCalls, sizeof kRepeatedCalls);
  const auto* name = reinterpret_cast<const sockaddr*>(&address.storage);
  if (connect(descriptor.Number(), name, address.length) != 0 && errno != EINPROGRESS) {
    NoteFailedAttempt(errno);
    return false;
  }
  try {
    auto watch = std::make_unique<DescriptorWatch>(descriptor.Number(), EPOLLOUT, wake_);
    attempts_.push_back({std::move(descriptor), std::move(watch)});
    return true;
  } catch (const std::system_error& error) {
    NoteFailedAttempt(error.code().value());
    return false;
  }
}

void Connector::LookAtAttempts() {
  for (auto attempt = attempts_.begin(); attempt != attempts_.end();) {
    int error_number = 0;
    if (!Ended(attempt->descriptor.Number(), error_number)) {
      ++attempt;
    } else if (error_number == 0) {
      connected_ = std::move(*attempt);
      return Settle(State::kConnected, SocketCore::kNoError);
    } else {
      NoteFailedAttempt(error_number);
      attempt = attempts_.erase(attempt);
      next_start_ = {};  // a failure calls for the next address at once
    }
  }
}

void Connector::NoteFailedAttempt(int error_number) {
  // Somebody who refused says more than nobody who answered.
  if (error_number == ECONNREFUSED) error_ = SocketCore::kConnectionRefused;
  if (error_ == SocketCore::kNoError) error_ = SocketCore::kOpenFailed;
}

}  // namespace vantorel
