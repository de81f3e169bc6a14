#include "platform/run/Timer.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vantorel {
namespace {

using std::chrono::milliseconds;
using TimePoint = EventLoop::Clock::time_point;

TEST(Timer, FiresAsItsModeAndPeriodSay) {
  const std::tuple<const char*, std::function<void(const Ref<Timer>&)>, int> cases[] = {
      {"off unless armed", [](const Ref<Timer>& t) { t->SetPeriod(1); }, 0},
      {"the period may be set after arming", [](const Ref<Timer>& t) { t->SetMode(1), t->SetPeriod(1); }, 1},
      {"turned off in time", [](const Ref<Timer>& t) { t->SetPeriod(1), t->SetMode(1), t->SetMode(0); }, 0},
  };
  for (const auto& [name, set, times] : cases) {
    int fired = 0;
    const auto timer = New<Timer>();
    timer->Action = [&] { ++fired; };
    set(timer);
    EventLoop::Current().RunPending(40);
    EXPECT_EQ(fired, times) << name;
    EXPECT_EQ(timer->Mode(), 0) << name;
  }
}

TEST(Timer, ArmedInAHandlerFiresAfterItsFullPeriod) {
  const auto first = New<Timer>(), second = New<Timer>();
  TimePoint armed, fired;
  first->Action = [&] {
    armed = EventLoop::Clock::now();
    second->SetMode(1);
  };
  second->SetPeriod(30);
  second->Action = [&] { fired = EventLoop::Clock::now(); };
  first->SetPeriod(1);
  first->SetMode(1);
  EventLoop::Current().RunUntil([&] { return fired > armed; });
  EXPECT_GE(fired - armed, milliseconds(30));
}

}  // namespace
}  // namespace vantorel
