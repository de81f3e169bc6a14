#include "platform/run/Timer.h"

#include <algorithm>

namespace vantorel {

Timer::Timer() : alarm_([this] { Fire(); }) {}

void Timer::SetMode(std::int32_t mode) {
  const bool was_armed = mode_ == 1;
  mode_ = mode;
  if (mode != 1) {
    alarm_.Stop();
  } else if (!was_armed) {
    armed_at_ = EventLoop::Clock::now();
    Arm();
  }
}

void Timer::SetPeriod(std::int32_t milliseconds) {
  period_ = milliseconds;
  if (mode_ == 1) Arm();
}

void Timer::Arm() {
  alarm_.StartAt(armed_at_ + std::chrono::milliseconds(std::max(period_, 0)));
}

void Timer::Fire() {
  const Ref<Timer> alive(this);  // Action may drop the last reference
  mode_ = 0;
  const std::function<void()> action = Action;
  if (action) action();
}

}  // namespace vantorel
