// The one loop of the process. Sockets, timers and child processes hang on its epoll descriptor; their
// handlers, and those that a window system queues, run from the loop's own queue, one at a time and to
// completion, never inside a toolkit's callback. So a fault or Quit in a handler unwinds through frames of
// ours only.
//
// Loops nest: a handler may call RunUntil (a modal window does), and handlers go on running inside. A handler
// that is still on the stack does not run again inside itself (see DescriptorWatch).
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>

namespace vantorel {

// How the loop waits when a window system takes part. Without one it waits in epoll_wait.
class LoopWaiter {
 public:
  virtual ~LoopWaiter() = default;

  // Lets the toolkit process its events; its callbacks may do nothing with the program but EventLoop::Queue.
  // With `may_block`, returns once something was processed or the loop's Descriptor() is readable, whichever
  // comes first (timers make it readable too, so there is no time limit to mind); otherwise returns at once.
  virtual void Wait(bool may_block) = 0;
};

class EventLoop {
 public:
  using Clock = std::chrono::steady_clock;
  using Handler = std::function<void()>;

  // The loop of this process; made on first use.
  static EventLoop& Current();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  // Runs `handler` from the loop once those queued before it have run. May be called from toolkit callbacks.
  void Queue(Handler handler);

  // Runs handlers until `done()` is true; it is asked before the first wait and after every handler. Faults
  // and Quit pass through; what is queued then stays queued.
  void RunUntil(const std::function<bool()>& done);

  // Runs what is due now. If nothing is, waits up to `milliseconds` for something (0 or less: does not wait).
  void RunPending(std::int32_t milliseconds);

  // The epoll descriptor: readable when there is something for the loop to collect. Only for waiting on.
  int Descriptor() const { return epoll_; }

  // The window system's wait, until it is set to nullptr. `waiter` is not owned.
  void SetWaiter(LoopWaiter* waiter) { waiter_ = waiter; }

 private:
  friend class DescriptorWatch;
  struct WatchState;

  EventLoop();
  ~EventLoop() = default;

  // Waits if it may, then queues the handlers of descriptors that are ready.
  void WaitAndCollect(bool may_block);
  // Runs up to `count` queued handlers; stops when `done`.
  void RunQueued(std::size_t count, const std::function<bool()>& done);

  int epoll_;
  std::deque<Handler> queue_;
  LoopWaiter* waiter_ = nullptr;
};

}  // namespace vantorel
