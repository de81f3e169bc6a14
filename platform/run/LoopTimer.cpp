#include "platform/run/LoopTimer.h"

#include <utility>

#include "platform/run/EventLoopState.h"

namespace vantorel {

void EventLoop::TimerState::Run() {
  if (!due) return;
  due = false;
  handler();
}

LoopTimer::LoopTimer(EventLoop::Handler handler) : state_(std::make_shared<EventLoop::TimerState>()) {
  state_->handler = std::move(handler);
}

LoopTimer::~LoopTimer() {
  Stop();
}

void LoopTimer::StartAt(EventLoop::Clock::time_point deadline) {
  Stop();
  EventLoop::Current().AddTimer(*state_, deadline);
}

void LoopTimer::StartIn(std::int64_t milliseconds) {
  StartAt(EventLoop::Clock::now() + std::chrono::milliseconds(milliseconds));
}

void LoopTimer::Stop() {
  if (state_->waiting) EventLoop::Current().RemoveTimer(*state_);
  state_->due = false;
}

}  // namespace vantorel
