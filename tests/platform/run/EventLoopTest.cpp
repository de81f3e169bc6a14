#include "platform/run/EventLoop.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/run/BackgroundTask.h"
#include "platform/run/Descriptor.h"
#include "platform/run/DescriptorWatch.h"
#include "platform/run/LoopTimer.h"

namespace vantorel {
namespace {

EventLoop& Loop() {
  return EventLoop::Current();
}

struct Pipe {
  Pipe() {
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("pipe");
    out = Descriptor(ends[0]);
    in = Descriptor(ends[1]);
  }
  void Fill() { ASSERT_EQ(write(in.Number(), "x", 1), 1); }
  void Drain() {
    char byte;
    ASSERT_EQ(read(out.Number(), &byte, 1), 1);
  }
  Descriptor out, in;
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
  Pipe own, other;
  int depth = 0, deepest = 0, runs = 0;
  bool inner_done = false, outer_done = false;
  DescriptorWatch watch(own.out.Number(), EPOLLIN, [&] {
    deepest = std::max(deepest, ++depth);
    if (++runs == 1) {  // still readable, and yet it must not run inside itself
      DescriptorWatch other_watch(other.out.Number(), EPOLLIN, [&] { inner_done = true; });
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
  Pipe first, second;
  first.Fill();
  second.Fill();
  int runs = 0;
  std::optional<DescriptorWatch> a, b;
  std::optional<LoopTimer> timer;
  const auto only_one = [&] { ++runs, a.reset(), b.reset(), timer.reset(); };
  a.emplace(first.out.Number(), EPOLLIN, only_one);
  b.emplace(second.out.Number(), EPOLLIN, only_one);
  timer.emplace(only_one);
  timer->StartIn(0);
  usleep(2000);
  Loop().RunPending(0);
  Loop().RunPending(0);
  EXPECT_EQ(runs, 1);
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
    pollfd both[] = {{Loop().Descriptor(), POLLIN, 0}, {toolkit.out.Number(), POLLIN, 0}};
    poll(both, 2, may_block ? -1 : 0);
    blocked += may_block ? 1 : 0;
    if ((both[1].revents & POLLIN) == 0) return;
    toolkit.Drain();
    Loop().Queue([this] { ++clicks; });
  }
  void Repaint() override { ++repaints; }

  Pipe toolkit;
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
