#include "platform/run/EventLoop.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <unistd.h>

#include <optional>
#include <stdexcept>
#include <string>

#include "platform/base/Descriptor.h"
#include "platform/run/BackgroundTask.h"
#include "platform/run/DescriptorWatch.h"
#include "platform/run/LoopTimer.h"

namespace vantorel {
namespace {

EventLoop& Loop() {
  return EventLoop::Current();
}

// A descriptor that is readable while it is filled.
struct Signal {
  void Fill() { EXPECT_EQ(eventfd_write(descriptor.Number(), 1), 0); }
  void Drain() {
    eventfd_t count = 0;
    EXPECT_EQ(eventfd_read(descriptor.Number(), &count), 0);
  }
  Descriptor descriptor{eventfd(0, EFD_CLOEXEC)};
};

TEST(EventLoop, AsksWhetherItIsDoneAfterEveryHandlerAndAfterAFault) {
  std::string order;
  Loop().Queue([] { throw std::runtime_error("fault"); });
  Loop().Queue([&] { order += 'a'; });
  Loop().Queue([&] { order += 'b'; });
  EXPECT_THROW(Loop().RunUntil([] { return false; }), std::runtime_error);
  Loop().RunUntil([&] { return order == "a"; });
  Loop().RunPending(0);
  EXPECT_EQ(order, "ab");
}

TEST(EventLoop, NestedLoopsRunOthersButNotTheHandlerOnTheStack) {
  Signal own, other;
  int depth = 0, deepest = 0, runs = 0;
  bool inner_done = false, outer_done = false;
  DescriptorWatch watch(own.descriptor.Number(), EPOLLIN, [&] {
    deepest = std::max(deepest, ++depth);
    if (++runs == 1) {  // still readable, and yet it must not run inside itself
      DescriptorWatch other_watch(other.descriptor.Number(), EPOLLIN, [&] { inner_done = true; });
      other.Fill();
      Loop().RunUntil([&] { return inner_done; });
    } else {
      own.Drain();
      outer_done = true;
    }
    --depth;
  });
  own.Fill();
  Loop().RunUntil([&] { return outer_done; });
  EXPECT_EQ(deepest, 1);
  EXPECT_EQ(runs, 2) << "a level-triggered report was lost";
}

TEST(EventLoop, WhatIsGoneDoesNotRunThoughItsEventIsQueued) {
  Signal first, second;
  first.Fill();
  second.Fill();
  int runs = 0;
  std::optional<DescriptorWatch> a, b;
  std::optional<LoopTimer> timer;
  const auto only_one = [&] { ++runs, a.reset(), b.reset(), timer.reset(); };
  a.emplace(first.descriptor.Number(), EPOLLIN, only_one);
  b.emplace(second.descriptor.Number(), EPOLLIN, only_one);
  timer.emplace(only_one);
  timer->StartIn(0);
  usleep(2000);
  Loop().RunPending(0);
  Loop().RunPending(0);
  EXPECT_EQ(runs, 1);
}

TEST(EventLoop, WhatTheKernelCannotWatchIsTold) {
  const Descriptor file(memfd_create("file", MFD_CLOEXEC));
  EXPECT_THROW(DescriptorWatch(file.Number(), EPOLLIN, [] {}), std::system_error);
}

// As a window system does: waits for its own events and for the loop's descriptor.
class WindowSystem : public LoopWaiter, public Repainter {
 public:
  WindowSystem() {
    Loop().SetWaiter(this);
    SetRepainter(this);
  }
  ~WindowSystem() override {
    Loop().SetWaiter(nullptr);
    SetRepainter(nullptr);
  }
  void Wait(bool may_block) override {
    pollfd both[] = {{Loop().Descriptor(), POLLIN, 0}, {toolkit.descriptor.Number(), POLLIN, 0}};
    poll(both, 2, may_block ? -1 : 0);
    blocked += may_block ? 1 : 0;
    if ((both[1].revents & POLLIN) == 0) return;
    toolkit.Drain();
    Loop().Queue([this] { ++clicks; });
  }
  void Repaint() override { ++repaints; }

  Signal toolkit;
  int clicks = 0, blocked = 0, repaints = 0;
};

TEST(EventLoop, AWindowSystemSuppliesTheWait) {
  WindowSystem windows;
  LoopTimer timer([&] { windows.toolkit.Fill(); });
  timer.StartIn(20);
  Loop().RunUntil([&] { return windows.clicks == 1; });
  EXPECT_LE(windows.blocked, 6) << "the loop's descriptor stays readable: the wait spins";
}

TEST(BackgroundTask, RepaintsAtMostEvery50MillisecondsAndRunsNoHandler) {
  WindowSystem windows;
  bool handled = false;
  Loop().Queue([&] { handled = true; });
  const auto start = EventLoop::Clock::now();
  while (windows.repaints < 4) RuntimeBackgroundTask();
  EXPECT_GE(EventLoop::Clock::now() - start, std::chrono::milliseconds(150));
  EXPECT_FALSE(handled);
  Loop().RunPending(0);
}

}  // namespace
}  // namespace vantorel
