// A button. Return presses the one with `Default`, Escape the one with `Cancel`; a button that has the
// keyboard's focus takes Return and the space bar itself.
#pragma once

#include <functional>

#include "platform/run/EventLoop.h"
#include "platform/ui/RectControl.h"

namespace vantorel {

class PushButton : public RectControl {
 public:
  explicit PushButton(const Bounds& bounds) : RectControl(bounds) {}

  TextStyle Style;
  String Caption;
  bool Default = false;
  bool Cancel = false;
  // The event of a press. May be unset.
  std::function<void()> Action;

  // What the view calls when the user presses the button: queues Action, which does not run if the window has
  // been closed by then.
  void Press() {
    if (!Enabled || !Visible()) return;
    EventLoop::Current().Queue([self = Ref<PushButton>(this)] {
      if (self->IsOpen() && self->Action) self->Action();
    });
  }
};

}  // namespace vantorel
