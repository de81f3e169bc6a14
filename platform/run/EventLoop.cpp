#include "platform/run/EventLoop.h"

#include <sys/epoll.h>

#include <array>
#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

#include "platform/run/BackgroundTask.h"
#include "platform/run/DescriptorWatch.h"
#include "platform/run/LoopTimer.h"

namespace vantorel {

// Kept alive by its DescriptorWatch and by a queued call of its handler.
struct EventLoop::WatchState : std::enable_shared_from_this<WatchState> {
  int descriptor = -1;
  std::uint32_t events = 0;
  Handler handler;
  // False once the watch is gone.
  bool alive = true;
  // The kernel reported the descriptor and, until the handler has returned, will not report it again.
  bool reported = false;

  void Run() {
    if (!alive) return;
    // Also when the handler throws, so that the loop it unwinds to still hears of the descriptor.
    struct RearmAtExit {
      WatchState& state;
      ~RearmAtExit() { state.Rearm(); }
    } const rearm{*this};
    handler();
  }
  // Asks the kernel for the next report.
  void Rearm() {
    reported = false;
    if (alive) Ask(EPOLL_CTL_MOD);  // needs no memory, and so cannot fail
  }
  // Tells epoll_ctl. False if it cannot; errno says why.
  bool Ask(int operation) {
    epoll_event request{};
    request.events = events | EPOLLONESHOT;
    request.data.ptr = this;
    return epoll_ctl(EventLoop::Current().epoll_, operation, descriptor, &request) == 0;
  }
};

EventLoop& EventLoop::Current() {
  // Never destroyed, since what hangs on it may live in static storage.
  static EventLoop& loop = *new EventLoop;  // NOLINT(cppcoreguidelines-owning-memory): see above
  return loop;
}

EventLoop::EventLoop() : epoll_(epoll_create1(EPOLL_CLOEXEC)) {
  if (epoll_ < 0) throw std::system_error(errno, std::generic_category(), "epoll_create1");
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
  RunQueued(queue_.size(), [] { return false; });
}

void EventLoop::WaitAndCollect(bool may_block) {
  if (waiter_ != nullptr) waiter_->Wait(may_block);
  std::array<epoll_event, 64> reports;
  const int time_limit = may_block && waiter_ == nullptr ? -1 : 0;
  const int count = epoll_wait(epoll_, reports.data(), static_cast<int>(reports.size()), time_limit);
  if (may_block) background::AfterWait();
  for (int i = 0; i < count; ++i) {
    auto* watch = static_cast<WatchState*>(reports[static_cast<std::size_t>(i)].data.ptr);
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

DescriptorWatch::DescriptorWatch(int descriptor, std::uint32_t events, EventLoop::Handler handler)
    : state_(std::make_shared<EventLoop::WatchState>()) {
  state_->descriptor = descriptor;
  state_->events = events;
  state_->handler = std::move(handler);
  if (!state_->Ask(EPOLL_CTL_ADD)) throw std::system_error(errno, std::generic_category(), "epoll_ctl");
}

DescriptorWatch::~DescriptorWatch() {
  state_->alive = false;
  epoll_ctl(EventLoop::Current().epoll_, EPOLL_CTL_DEL, state_->descriptor, nullptr);
}

void DescriptorWatch::Rearm() {
  state_->Rearm();
}

void DescriptorWatch::SetEvents(std::uint32_t events) {
  state_->events = events;
  if (!state_->reported) state_->Rearm();
}

}  // namespace vantorel
