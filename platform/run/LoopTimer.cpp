#include "platform/run/LoopTimer.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <system_error>
#include <utility>

namespace vantorel {
namespace {

int NewTimer() {
  const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
  if (timer < 0) throw std::system_error(errno, std::generic_category(), "timerfd_create");
  return timer;
}

}  // namespace

LoopTimer::LoopTimer(EventLoop::Handler handler)
    : timer_(NewTimer()), watch_(timer_.Number(), EPOLLIN, [this, handler = std::move(handler)] {
        std::uint64_t expirations = 0;
        // Nothing is there to read if it was stopped or started anew since it was reported.
        if (read(timer_.Number(), &expirations, sizeof expirations) < 0) return;
        watch_.Rearm();
        handler();
      }) {}

void LoopTimer::StartAt(EventLoop::Clock::time_point deadline) {
  // The time 0 would stop it.
  const auto since_boot = std::max(deadline.time_since_epoch(), EventLoop::Clock::duration(1));
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since_boot);
  itimerspec setting{};
  setting.it_value.tv_sec = seconds.count();
  setting.it_value.tv_nsec = std::chrono::nanoseconds(since_boot - seconds).count();
  timerfd_settime(timer_.Number(), TFD_TIMER_ABSTIME, &setting, nullptr);
}

void LoopTimer::StartIn(std::int64_t milliseconds) {
  StartAt(EventLoop::Clock::now() + std::chrono::milliseconds(milliseconds));
}

void LoopTimer::Stop() {
  const itimerspec never{};
  timerfd_settime(timer_.Number(), 0, &never, nullptr);
}

}  // namespace vantorel
