#include "platform/run/DescriptorWatch.h"

#include <sys/epoll.h>

#include <utility>

#include "platform/run/EventLoopState.h"

namespace vantorel {

namespace {

epoll_event Request(std::uint32_t events, void* watch) {
  epoll_event request{};
  request.events = events | EPOLLONESHOT;
  request.data.ptr = watch;
  return request;
}

}  // namespace

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
  if (!alive) return;
  epoll_event request = Request(events, this);
  epoll_ctl(EventLoop::Current().epoll_, EPOLL_CTL_MOD, descriptor, &request);
}

DescriptorWatch::DescriptorWatch(int descriptor, std::uint32_t events, EventLoop::Handler handler)
    : state_(std::make_shared<EventLoop::WatchState>()) {
  state_->descriptor = descriptor;
  state_->events = events;
  state_->handler = std::move(handler);
  epoll_event request = Request(events, state_.get());
  epoll_ctl(EventLoop::Current().epoll_, EPOLL_CTL_ADD, descriptor, &request);
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
