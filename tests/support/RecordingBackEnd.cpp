#include "tests/support/RecordingBackEnd.h"

#include <utility>

#include "platform/run/EventLoop.h"
#include "platform/ui/PushButton.h"

namespace vantorel::testing {

namespace {

class RecordedControl : public ControlView {
  void Update() override {}
};

class RecordedWindow : public WindowView {
 public:
  RecordedWindow(RecordingBackEnd& screen, Window& window) : screen_(screen), window_(window) {}
  ~RecordedWindow() override { std::erase(screen_.shown, &window_); }

  std::unique_ptr<ControlView> Add(RectControl& /*control*/) override {
    return std::make_unique<RecordedControl>();
  }
  void Show(bool modal) override {
    screen_.shown.push_back(&window_);
    if (!modal || !screen_.on_modal) return;
    EventLoop::Current().Queue(
        [&screen = screen_, window = Ref<Window>(&window_)] { screen.on_modal(*window); });
  }
  void Update() override {}

 private:
  RecordingBackEnd& screen_;
  Window& window_;
};

}  // namespace

RecordingBackEnd& RecordingBackEnd::Install() {
  auto made = std::make_unique<RecordingBackEnd>();
  RecordingBackEnd& result = *made;
  BackEnd::Install(std::move(made));
  return result;
}

std::unique_ptr<WindowView> RecordingBackEnd::Open(Window& window) {
  return std::make_unique<RecordedWindow>(*this, window);
}

std::unique_ptr<View> RecordingBackEnd::ShowMessage(const String& text, std::function<void()> dismissed) {
  messages.emplace_back(text.view());
  EventLoop::Current().Queue([this, said = messages.back(), dismissed = std::move(dismissed)] {
    if (on_message) on_message(said);
    dismissed();
  });
  return std::make_unique<View>();
}

void Press(const Ref<Window>& window, const char* button) {
  ControlByName<PushButton>(window, button)->Press();
}

}  // namespace vantorel::testing
