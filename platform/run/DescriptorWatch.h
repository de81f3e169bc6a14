// A file descriptor on the event loop, for as long as this object lives.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/run/EventLoop.h"

namespace vantorel {

class DescriptorWatch {
 public:
  // Runs `handler` from the loop while the descriptor is ready for one of `events` (EPOLLIN, EPOLLOUT; an
  // error or hang-up counts always). Between being reported and its handler's return the descriptor is not
  // looked at, so a handler that runs a nested loop does not run again inside itself. The handler may destroy
  // the watch. Raises std::system_error if the kernel cannot watch the descriptor (too many are watched, or
  // it is a plain file). REQUIRES: `descriptor` stays open until the watch is gone; one watch per descriptor.
  DescriptorWatch(int descriptor, std::uint32_t events, EventLoop::Handler handler);
  ~DescriptorWatch();
  DescriptorWatch(const DescriptorWatch&) = delete;
  DescriptorWatch& operator=(const DescriptorWatch&) = delete;

  // Changes what is waited for.
  void SetEvents(std::uint32_t events);
  // For the handler: lets the descriptor be reported again before it has returned.
  void Rearm();

 private:
  std::shared_ptr<EventLoop::WatchState> state_;
};

}  // namespace vantorel
