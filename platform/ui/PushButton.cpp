#include "platform/ui/PushButton.h"

#include "platform/run/EventLoop.h"

namespace vantorel {

void PushButton::Press() {
  if (!Enabled || !Visible()) return;
  EventLoop::Current().Queue([self = Ref<PushButton>(this)] {
    if (self->IsOpen() && self->Action) self->Action();
  });
}

}  // namespace vantorel
