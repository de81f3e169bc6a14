// A one-shot alarm on the event loop, for the parts of the platform itself; Timer is the control.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/run/EventLoop.h"

namespace vantorel {

class LoopTimer {
 public:
  // Not running yet.
  explicit LoopTimer(EventLoop::Handler handler);
  // Stops. The handler may destroy its own timer.
  ~LoopTimer();
  LoopTimer(const LoopTimer&) = delete;
  LoopTimer& operator=(const LoopTimer&) = delete;

  // Runs the handler once from the loop, at `deadline` at the earliest. Replaces an earlier deadline.
  void StartAt(EventLoop::Clock::time_point deadline);
  void StartIn(std::int64_t milliseconds);
  void Stop();

 private:
  std::shared_ptr<EventLoop::TimerState> state_;
};

}  // namespace vantorel
