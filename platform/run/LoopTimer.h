// A one-shot alarm on the event loop, for the parts of the platform itself; Timer is the control.
#pragma once

#include <cstdint>

#include "platform/base/Descriptor.h"
#include "platform/run/DescriptorWatch.h"

namespace vantorel {

class LoopTimer {
 public:
  // Not running yet. The handler may start the timer again, run a loop in which it runs again, or destroy it.
  // Raises std::system_error where the process has no descriptor left.
  explicit LoopTimer(EventLoop::Handler handler);
  LoopTimer(const LoopTimer&) = delete;
  LoopTimer& operator=(const LoopTimer&) = delete;

  // Runs the handler once from the loop, at `deadline` at the earliest. Replaces an earlier deadline.
  void StartAt(EventLoop::Clock::time_point deadline);
  void StartIn(std::int64_t milliseconds);
  void Stop();

 private:
  Descriptor timer_;
  DescriptorWatch watch_;  // goes before its descriptor
};

}  // namespace vantorel
