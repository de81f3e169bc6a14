// The splash: the launcher's one permanent window. It drives the run: asks the server for the current version
// and decides between starting the installed target, giving up and updating.
#pragma once

#include <cstdint>

#include "platform/run/Timer.h"
#include "platform/ui/ProgressBar.h"
#include "platform/ui/ProgressWheel.h"
#include "platform/ui/StaticText.h"
#include "platform/ui/Window.h"

namespace vantorel {

class Window1 : public Window {
 public:
  // Lays the window out. Use Implicit.
  Window1();
  // The instance; made and opened on first use.
  static Ref<Window1> Implicit() { return ImplicitWindow<Window1>("Window1"); }

  std::int32_t i = 0;  // used by nothing

  // A file `splash` in the launcher folder replaces the backdrop, also one that is no picture.
  void Event_Open() override;
  // Checks for an update and hands over to the target, or starts the download.
  void Timer1_Action();
  // Starts the target once an update has ended.
  void Timer2_Action();

 private:
  void AddControls();
};

}  // namespace vantorel
