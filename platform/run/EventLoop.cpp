#include "platform/run/EventLoop.h"

#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <utility>

#include "platform/run/BackgroundTask.h"
#include "platform/run/DescriptorWatch.h"
#include "platform/run/EventLoopState.h"
#include "platform/run/LoopTimer.h"

namespace vantorel {

namespace {

constexpr std::size_t kReportsAtOnce = 64;

int Checked(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

bool Never() {
  return false;
}

}  // namespace

EventLoop& EventLoop::Current() {
  // Never destroyed, since what hangs on it may live in static storage.
  static EventLoop& loop = *new EventLoop;  // NOLINT(cppcoreguidelines-owning-memory): see above
  return loop;
}

EventLoop::EventLoop()
    : epoll_(Checked(epoll_create1(EPOLL_CLOEXEC), "epoll_create1")),
      timer_descriptor_(
          Checked(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC), "timerfd_create")) {
  epoll_event report{};
  report.events = EPOLLIN;
  report.data.ptr = nullptr;  // stands for the timer descriptor
  Checked(epoll_ctl(epoll_, EPOLL_CTL_ADD, timer_descriptor_, &report), "epoll_ctl");
}

void EventLoop::Queue(Handler handler) {
  queue_.push_back(std::move(handler));
}

void EventLoop::RunUntil(const std::function<bool()>& done) {
  while (!done()) {
    WaitAndCollect(queue_.empty());
    // Only what is queued now, so that handlers which queue handlers do not keep the kernel's reports
    // waiting.
    RunQueued(queue_.size(), done);
  }
}

void EventLoop::RunPending(std::int32_t milliseconds) {
  WaitAndCollect(false);
  if (queue_.empty() && milliseconds > 0) {
    LoopTimer limit([] {});
    limit.StartIn(milliseconds);
    WaitAndCollect(true);
  }
  RunQueued(queue_.size(), Never);
}

void EventLoop::WaitAndCollect(bool may_block) {
  if (waiter_ != nullptr) waiter_->Wait(may_block);
  std::array<epoll_event, kReportsAtOnce> reports;
  const int time_limit = may_block && waiter_ == nullptr ? -1 : 0;
  const int count = epoll_wait(epoll_, reports.data(), static_cast<int>(reports.size()), time_limit);
  if (may_block) background::AfterWait();
  for (int i = 0; i < count; ++i) {
    auto* watch = static_cast<WatchState*>(reports[static_cast<std::size_t>(i)].data.ptr);
    if (watch == nullptr) {
      CollectTimers();
      continue;
    }
    watch->reported = true;
    Queue([state = watch->shared_from_this()] { state->Run(); });
  }
}

void EventLoop::RunQueued(std::size_t count, const std::function<bool()>& done) {
  // A handler may run a nested loop, which takes from the same queue.
  for (; count > 0 && !queue_.empty(); --count) {
    const Handler handler = std::move(queue_.front());
    queue_.pop_front();
    handler();
    if (done()) return;
  }
}

void EventLoop::CollectTimers() {
  std::uint64_t expirations;
  [[maybe_unused]] const ssize_t got = read(timer_descriptor_, &expirations, sizeof expirations);
  armed_for_ = {};
  const Clock::time_point now = Clock::now();
  while (!timers_.empty() && timers_.begin()->first <= now) {
    const std::shared_ptr<TimerState> timer = timers_.begin()->second;
    RemoveTimer(*timer);
    timer->due = true;
    Queue([timer] { timer->Run(); });
  }
  ArmTimerDescriptor();
}

void EventLoop::AddTimer(TimerState& timer, Clock::time_point deadline) {
  timer.place = timers_.emplace(deadline, timer.shared_from_this());
  timer.waiting = true;
  ArmTimerDescriptor();
}

// The timer descriptor may stay set for it: an expiry with nothing due is harmless.
void EventLoop::RemoveTimer(TimerState& timer) {
  timers_.erase(timer.place);
  timer.waiting = false;
}

void EventLoop::ArmTimerDescriptor() {
  if (timers_.empty() || timers_.begin()->first == armed_for_) return;
  armed_for_ = timers_.begin()->first;
  const auto since_boot = armed_for_.time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since_boot);
  itimerspec setting{};
  setting.it_value.tv_sec = seconds.count();
  setting.it_value.tv_nsec = std::chrono::nanoseconds(since_boot - seconds).count();
  timerfd_settime(timer_descriptor_, TFD_TIMER_ABSTIME, &setting, nullptr);
}

}  // namespace vantorel
