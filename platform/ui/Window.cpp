#include "platform/ui/Window.h"

#include <algorithm>

#include "platform/run/EventLoop.h"
#include "platform/run/Timer.h"
#include "platform/text/TextFunctions.h"

namespace vantorel {

namespace {

// What keeps windows alive: one is here from Open to Close.
std::vector<Ref<Window>> open_windows;

}  // namespace

void Window::Open() {
  open_windows.push_back(Ref<Window>(this));
  view_ = BackEnd::Current().Open(*this);
  for (const NamedControl& each : controls_) {
    if (const auto control = Cast<RectControl>(each.control)) control->view_ = view_->Add(*control);
  }
  Event_Open();
  if (!Visible) return;
  EventLoop::Current().Queue([name = name_] {
    if (const Ref<Window> window = _GetImplicitWindow(name)) window->ShowOnce(false);
  });
}

void Window::ShowOnce(bool modal) {
  if (view_ == nullptr || shown_) return;
  shown_ = true;
  view_->Show(modal);
}

void Window::ShowModal() {
  const Ref<Window> self(this);
  ShowOnce(true);
  EventLoop::Current().RunUntil([&] { return !IsOpen(); });
}

void Window::Close() {
  const Ref<Window> self(this);
  for (const NamedControl& each : controls_) {
    if (const auto control = Cast<RectControl>(each.control)) control->view_.reset();
    if (const auto timer = Cast<Timer>(each.control)) timer->SetMode(0);
  }
  view_.reset();
  std::erase_if(open_windows, [&](const Ref<Window>& window) { return window == self; });
}

Ref<Window> _GetImplicitWindow(const std::string& name) {
  const auto found = std::find_if(open_windows.begin(), open_windows.end(),
                                  [&](const auto& window) { return window->name_ == name; });
  return found == open_windows.end() ? nil : *found;
}

Ref<Object> RuntimeWindowControlByName(const Ref<Window>& window, const String& name) {
  for (const Window::NamedControl& each : window->controls_) {
    if (SameText(each.name, name)) return each.control;
  }
  return nil;
}

void CloseAllWindows() {
  while (!open_windows.empty()) {
    const Ref<Window> last = open_windows.back();
    last->Close();
  }
}

}  // namespace vantorel
