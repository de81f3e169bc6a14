#include "platform/run/BackgroundTask.h"

#include <algorithm>
#include <chrono>
#include <limits>

namespace vantorel {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kRepaintEvery = std::chrono::milliseconds(50);
// The clock is looked at less and less often while looks come thick, at every call while they come thin.
constexpr auto kLookEvery = std::chrono::milliseconds(1);
constexpr std::int32_t kMostCallsBetweenLooks = 64;

Repainter* the_repainter = nullptr;
std::int32_t calls_between_looks = 0;
Clock::time_point last_look;
Clock::time_point last_repaint;

}  // namespace

std::int32_t background::calls_left = 0;

void SetRepainter(Repainter* repainter) {
  the_repainter = repainter;
  background::calls_left = 0;
}

void background::LookAtClock() {
  if (the_repainter == nullptr) {
    calls_left = std::numeric_limits<std::int32_t>::max();
    return;
  }
  const Clock::time_point now = Clock::now();
  calls_between_looks =
      now - last_look < kLookEvery ? std::min(2 * calls_between_looks + 1, kMostCallsBetweenLooks) : 0;
  last_look = now;
  calls_left = calls_between_looks;
  if (now - last_repaint < kRepaintEvery) return;
  the_repainter->Repaint();
  last_repaint = Clock::now();
}

}  // namespace vantorel
