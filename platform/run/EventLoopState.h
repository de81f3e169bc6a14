// What the event loop shares with the objects that hang on it. Included by their implementations only.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/run/EventLoop.h"

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

  void Run();
  // Asks the kernel for the next report.
  void Rearm();
  // Tells epoll_ctl. False if it cannot; errno says why.
  bool Ask(int operation);
};

// Kept alive by its LoopTimer and by a queued call of its handler.
struct EventLoop::TimerState : std::enable_shared_from_this<TimerState> {
  Handler handler;
  // The place among the loop's timers while waiting there.
  Timers::iterator place;
  bool waiting = false;
  // Due, and its handler is queued. Stop takes that back.
  bool due = false;

  void Run();
};

}  // namespace vantorel
