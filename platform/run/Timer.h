// The control without a view that acts once after a delay. Held by a Ref, as all objects; one that nobody
// holds does not fire.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/base/Ref.h"
#include "platform/run/LoopTimer.h"

namespace vantorel {

class Timer : public Object {
 public:
  Timer();

  // 0: off. 1: Action runs once, `Period` milliseconds after the moment in which Mode became 1; then Mode is
  // off again, before Action runs, so Action may arm it anew. Setting 1 on an armed timer changes nothing;
  // any other value than 1 is off.
  std::int32_t Mode() const { return mode_; }
  void SetMode(std::int32_t mode);

  // Milliseconds, 1000 at first; below 0 counts as 0. Counts from the moment of arming, also when changed
  // later.
  std::int32_t Period() const { return period_; }
  void SetPeriod(std::int32_t milliseconds);

  // The event, run from the event loop and never inside another handler unless that one runs the loop. May be
  // unset.
  std::function<void()> Action;

 private:
  void Arm();
  void Fire();

  std::int32_t mode_ = 0;
  std::int32_t period_ = 1000;
  EventLoop::Clock::time_point armed_at_{};
  LoopTimer alarm_;
};

}  // namespace vantorel
