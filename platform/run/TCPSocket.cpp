#include "platform/run/TCPSocket.h"

#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include "platform/run/BackgroundTask.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

TCPSocket::~TCPSocket() {
  DropConnection();
}

void TCPSocket::Connect() {
  Close();
  Take(received_.size());
  last_error_code_ = kNoError;
  try {
    connector_ = std::make_unique<Connector>(std::string(address_.view()), port_, [this] { Advance(); });
  } catch (const std::system_error&) {  // no descriptor is left
    EventLoop::Current().Queue([self = Ref<TCPSocket>(this), number = connection_number_] {
      if (number == self->connection_number_) self->ReportEnd(kOpenFailed);
    });
  }
}

void TCPSocket::Close() {
  DropConnection();
  ++connection_number_;
}

void TCPSocket::DropConnection() {
  connector_.reset();
  watch_.reset();
  descriptor_.Close();
  AbandonSending();
  connected_ = false;
}

void TCPSocket::Purge() {
  Take(received_.size());
  AbandonSending();
}

void TCPSocket::AbandonSending() {
  to_send_.clear();
  sent_of_first_ = 0;
  send_complete_due_ = false;
  if (watch_ != nullptr) watch_->SetEvents(EPOLLIN);
}

void TCPSocket::Poll() {
  constexpr std::chrono::milliseconds kPollWait(10);
  std::vector<pollfd> descriptors;
  std::chrono::milliseconds limit = kPollWait;
  if (connector_ != nullptr) connector_->DescribeWait(descriptors, limit);
  if (descriptor_.IsOpen()) {
    const int events = send_complete_due_ ? POLLIN | POLLOUT : POLLIN;
    descriptors.push_back({descriptor_.Number(), static_cast<short>(events), 0});
  }
  const int ready = poll(descriptors.data(), descriptors.size(), static_cast<int>(limit.count()));
  background::AfterWait();
  if (ready > 0 || connector_ != nullptr) Advance();
}

void TCPSocket::Advance() {
  const Ref<TCPSocket> alive(this);  // a handler may drop the last reference
  if (connector_ != nullptr) {
    AdvanceConnecting();
  } else if (descriptor_.IsOpen()) {
    AdvanceConnected();
  }
}

void TCPSocket::AdvanceConnecting() {
  switch (connector_->Advance()) {
    case Connector::State::kPending:
      return;
    case Connector::State::kFailed:
      return ReportEnd(connector_->Error());
    case Connector::State::kConnected:
      descriptor_ = connector_->TakeDescriptor();
      watch_ = connector_->TakeWatch();
      watch_->SetEvents(EPOLLIN);
      connector_.reset();
      connected_ = true;
      Event_Connected();
  }
}

void TCPSocket::AdvanceConnected() {
  const std::uint32_t number = connection_number_;
  if (send_complete_due_) SendQueued();
  if (send_complete_due_ && to_send_.empty()) {
    send_complete_due_ = false;
    watch_->SetEvents(EPOLLIN);
    Event_SendComplete(false);
    if (number != connection_number_) return;
  }
  Receive();
}

void TCPSocket::ReportEnd(ErrorCode code) {
  DropConnection();
  last_error_code_ = code;
  Event_Error();
}

// The end of the connection is told by receiving alone, once every byte has been received: also when the peer
// has reset it, which makes sending fail at once.
void TCPSocket::Receive() {
  constexpr int kLargestReceive = 256 * 1024;
  constexpr int kSmallestReceive = 4096;
  int available = 0;
  ioctl(descriptor_.Number(), FIONREAD, &available);
  const int room = std::clamp(available, kSmallestReceive, kLargestReceive);
  std::string bytes(static_cast<std::size_t>(room), '\0');
  ssize_t count;
  do {
    count = recv(descriptor_.Number(), bytes.data(), bytes.size(), 0);
  } while (count < 0 && errno == EINTR);
  if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
  if (count <= 0) return ReportEnd(kLostConnection);
  bytes.resize(static_cast<std::size_t>(count));
  Arrive(String::Adopt(std::move(bytes), nil));
}

void TCPSocket::Arrive(String bytes) {
  if (received_.empty()) {
    received_ = std::move(bytes);
  } else {
    received_ += bytes;
  }
  Event_DataAvailable();
}

String TCPSocket::Take(std::size_t count) {
  String taken = received_.Slice(0, count);
  received_ = taken.size() == received_.size() ? String() : received_.Slice(count);
  bytes_taken_ += taken.size();
  return taken;
}

String TCPSocket::Read(std::int32_t count, const Ref<TextEncoding>& encoding) {
  return DefineEncoding(Take(static_cast<std::size_t>(std::max(count, 0))), encoding);
}

String TCPSocket::ReadAll(const Ref<TextEncoding>& encoding) {
  return DefineEncoding(Take(received_.size()), encoding);
}

String TCPSocket::Lookahead(const Ref<TextEncoding>& encoding) const {
  return DefineEncoding(received_, encoding);
}

void TCPSocket::Write(const String& text) {
  if (!descriptor_.IsOpen() || text.empty()) return;
  to_send_.push_back(text);
  send_complete_due_ = true;
  if (to_send_.size() == 1) SendQueued();
  if (send_complete_due_) watch_->SetEvents(EPOLLIN | EPOLLOUT);
}

void TCPSocket::SendQueued() {
  while (!to_send_.empty()) {
    const std::string_view rest = to_send_.front().view().substr(sent_of_first_);
    const ssize_t count = send(descriptor_.Number(), rest.data(), rest.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
    if (count < 0) return AbandonSending();  // the connection is broken; receiving will report it
    sent_of_first_ += static_cast<std::size_t>(count);
    if (sent_of_first_ < to_send_.front().size()) continue;
    to_send_.pop_front();
    sent_of_first_ = 0;
  }
}

}  // namespace vantorel
