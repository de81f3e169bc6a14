#include "platform/ui/MsgBox.h"

#include <memory>

#include "platform/run/EventLoop.h"
#include "platform/ui/BackEnd.h"

namespace vantorel {

void MsgBox(const String& text) {
  // Shared with the queued report, which may outlive this call when a fault unwinds through it.
  const auto dismissed = std::make_shared<bool>(false);
  const auto view = BackEnd::Current().ShowMessage(
      text, [dismissed] { EventLoop::Current().Queue([dismissed] { *dismissed = true; }); });
  EventLoop::Current().RunUntil([&] { return *dismissed; });
}

}  // namespace vantorel
