#include "platform/run/DescriptorWatch.h"

#include <sys/epoll.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/run/EventLoopState.h"

namespace vantorel {

void EventLoop::WatchState::Run() {
  if (!alive) return;
  // Also when the handler throws, so that the loop it unwinds to still hears of the descriptor.
  struct RearmAtExit {
    WatchState& state;
    ~RearmAtExit() { state.Rearm(); }
  } const rearm{*this};
  handler();
}

void EventLoop::WatchState::Rearm() {
  reported = false;
  if (alive) Ask(EPOLL_CTL_MOD);  // needs no memory, and so cannot fail
}

bool EventLoop::WatchState::Ask(int operation) {
  epoll_event request{};
  request.events = events | EPOLLONESHOT;
  request.data.ptr = this;
  return epoll_ctl(EventLoop::Current().epoll_, operation, descriptor, &request) == 0;
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

void DescriptorWatch::SetEvents(std::uint32_t events) {
  state_->events = events;
  if (!state_->reported) state_->Rearm();
}

}  // namespace vantorel
