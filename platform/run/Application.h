// The application object: one per program, registered with _RuntimeRegisterAppObject.
#pragma once

#include <cstdint>

#include "platform/base/Ref.h"

namespace vantorel {

class Application : public Object {
 public:
  // Runs the handlers that are due and returns. If none is, waits up to `milliseconds` for one; 0 or less (-1
  // is the usual argument) does not wait.
  void DoEvents(std::int32_t milliseconds);
  // Blocks for that time, and runs no handler meanwhile; windows repaint.
  void SleepCurrentThread(std::int32_t milliseconds);
  // There is one thread: gives up the rest of its time slice to other processes.
  void YieldToNextThread();

  // Events. Open runs when the event loop starts, before any other handler.
  virtual void Event_Open() {}
};

}  // namespace vantorel
