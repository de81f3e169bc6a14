// The cooperative yield of long loops.
#pragma once

#include <cstdint>

namespace vantorel {

// What repaints the windows while a long loop runs.
class Repainter {
 public:
  virtual ~Repainter() = default;
  // Draws what is due and returns soon. Must not run a handler and takes no input of the user.
  virtual void Repaint() = 0;
};

// The window system's repainter, until it is set to nullptr. `repainter` is not owned.
void SetRepainter(Repainter* repainter);

namespace background {
// Calls of RuntimeBackgroundTask left until the clock is looked at.
extern std::int32_t calls_left;
void LookAtClock();
// To be called after a wait in the kernel: the next RuntimeBackgroundTask looks at the clock.
inline void AfterWait() {
  calls_left = 0;
}
}  // namespace background

// Lets the windows repaint, at most every 50 ms; never runs a handler. Costs about a nanosecond when nothing
// is due, so it may stand in the hottest loop.
inline void RuntimeBackgroundTask() {
  if (--background::calls_left < 0) background::LookAtClock();
}

}  // namespace vantorel
