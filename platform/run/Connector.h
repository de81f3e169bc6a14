// The making of one TCP connection: looks the name up and tries every address found, the next one a little
// later while those before are still at it (RFC 8305, "happy eyeballs"); the first that answers wins. Nobody
// is waited for for longer than about 15 seconds.
#pragma once

#include <poll.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "platform/base/Descriptor.h"
#include "platform/run/DescriptorWatch.h"
#include "platform/run/LoopTimer.h"
#include "platform/run/Resolver.h"
#include "platform/run/SocketCore.h"

namespace vantorel {

class Connector {
 public:
  enum class State { kPending, kConnected, kFailed };

  // Starts at once. `wake` runs from the event loop whenever Advance has something to do, also when all is
  // over from the first: a port outside 1..65535 or an unusable host fails in the same way as any other.
  Connector(const std::string& host, std::int32_t port, EventLoop::Handler wake);
  Connector(const Connector&) = delete;
  Connector& operator=(const Connector&) = delete;

  // Looks at what has happened and goes on from there.
  State Advance();
  // The connected socket, non-blocking, and its watch, which runs `wake` once it can be written to.
  // REQUIRES: State is kConnected.
  Descriptor TakeDescriptor() { return std::move(connected_.descriptor); }
  std::unique_ptr<DescriptorWatch> TakeWatch() { return std::move(connected_.watch); }
  // REQUIRES: State is kFailed.
  SocketCore::ErrorCode Error() const { return error_; }

  // Adds what a caller that waits by itself has to wait for, and lowers its time limit.
  void DescribeWait(std::vector<pollfd>& descriptors, std::chrono::milliseconds& limit) const;

 private:
  struct Attempt {
    Descriptor descriptor;
    std::unique_ptr<DescriptorWatch> watch;  // goes before its descriptor
  };

  void Settle(State state, SocketCore::ErrorCode error);
  void TryNextAddress();
  // False if it failed at once.
  bool StartAttempt(SocketAddress address);
  void LookAtAttempts();
  void NoteFailedAttempt(int error_number);

  std::int32_t port_;
  EventLoop::Handler wake_;
  LoopTimer timer_;
  State state_ = State::kPending;
  SocketCore::ErrorCode error_ = SocketCore::kNoError;
  std::unique_ptr<Resolver> resolver_;
  std::vector<SocketAddress> addresses_;
  std::size_t next_address_ = 0;
  EventLoop::Clock::time_point next_start_{};
  std::vector<Attempt> attempts_;
  Attempt connected_;
};

}  // namespace vantorel
