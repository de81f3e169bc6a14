#include "platform/run/Application.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "platform/run/BackgroundTask.h"
#include "platform/run/EventLoop.h"

namespace vantorel {

void Application::DoEvents(std::int32_t milliseconds) {
  EventLoop::Current().RunPending(milliseconds);
}

void Application::SleepCurrentThread(std::int32_t milliseconds) {
  // In slices, so that windows do not freeze.
  constexpr std::chrono::milliseconds kSlice(50);
  using Clock = std::chrono::steady_clock;
  const Clock::time_point end = Clock::now() + std::chrono::milliseconds(std::max(milliseconds, 0));
  for (Clock::time_point now = Clock::now(); now < end; now = Clock::now()) {
    std::this_thread::sleep_until(std::min(end, now + kSlice));
    background::AfterWait();
    RuntimeBackgroundTask();
  }
}

void Application::YieldToNextThread() {
  std::this_thread::yield();
}

}  // namespace vantorel
