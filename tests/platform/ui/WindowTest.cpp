#include "platform/ui/Window.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/run/EventLoop.h"
#include "platform/run/Runtime.h"
#include "platform/run/Timer.h"
#include "platform/ui/MsgBox.h"
#include "platform/ui/PushButton.h"
#include "tests/support/RecordingBackEnd.h"

namespace vantorel::testing {
namespace {

class Dialog : public Window {
 public:
  Dialog() : Window("Dialog") {
    button = _AddControl("Button", New<PushButton>(Bounds{}));
    button->Action = [this] { on_press ? on_press() : Close(); };
    timer = _AddControl("Timer", New<Timer>());
    timer->SetPeriod(0);
    timer->SetMode(1);
    timer->Action = [] { ++timers_fired; };
  }
  static inline int timers_fired = 0;
  std::function<void()> on_press;
  Ref<PushButton> button;
  Ref<Timer> timer;
};

class WindowTest : public ::testing::Test {
 protected:
  ~WindowTest() override { CloseAllWindows(); }

  static Ref<Dialog> Open() { return ImplicitWindow<Dialog>("Dialog"); }

  RecordingBackEnd& screen_ = RecordingBackEnd::Install();
};

TEST_F(WindowTest, ThereIsOneInstanceUntilItIsClosed) {
  Dialog::timers_fired = 0;
  const Ref<Dialog> first = Open();
  EXPECT_TRUE(Open() == first);
  first->Close();
  EXPECT_TRUE(_GetImplicitWindow("Dialog") == nil);
  EXPECT_FALSE(Open() == first);
  CloseAllWindows();
  EventLoop::Current().RunPending(20);
  EXPECT_EQ(Dialog::timers_fired, 0) << "a timer outlives its window";
}

TEST_F(WindowTest, ShowModalReturnsWhenTheWindowClosesAndUnwindsOnQuit) {
  screen_.on_modal = [](Window& window) { Press(Ref<Window>(&window), "Button"); };
  Open()->ShowModal();
  EXPECT_TRUE(screen_.shown.empty());
  const Ref<Dialog> dialog = Open();
  dialog->on_press = [] { Quit(3); };
  EXPECT_THROW(dialog->ShowModal(), EndException);
  EXPECT_TRUE(dialog->IsOpen());
}

TEST_F(WindowTest, PressesThatCountForNothing) {
  const std::tuple<const char*, std::function<void(Dialog&)>, std::function<void(Dialog&)>, int> cases[] = {
      {"an ordinary press counts", [](auto&) {}, [](auto&) {}, 1},
      {"disabled", [](auto& dialog) { dialog.button->Enabled = false; }, [](auto&) {}, 0},
      {"hidden", [](auto& dialog) { dialog.button->SetVisible(false); }, [](auto&) {}, 0},
      {"its window closed before the action ran", [](auto&) {}, [](auto& dialog) { dialog.Close(); }, 0},
  };
  for (const auto& [name, before, after, expected] : cases) {
    SCOPED_TRACE(name);
    int actions = 0;
    const Ref<Dialog> dialog = Open();
    dialog->on_press = [&] { ++actions; };
    before(*dialog.get());
    Press(dialog, "Button");
    EXPECT_EQ(actions, 0) << "ran inside the press";
    after(*dialog.get());
    EventLoop::Current().RunPending(0);
    EXPECT_EQ(actions, expected);
    CloseAllWindows();
  }
}

TEST_F(WindowTest, AMessageHoldsItsCallerUntilItIsDismissed) {
  bool returned = false;
  screen_.on_message = [&](const std::string& text) {
    EXPECT_EQ(text, "Größe");
    EXPECT_FALSE(returned);
    if (screen_.messages.size() == 1) MsgBox("Größe");  // from a handler that runs meanwhile
  };
  MsgBox("Größe");
  returned = true;
  EXPECT_EQ(screen_.messages.size(), 2U);
}

}  // namespace
}  // namespace vantorel::testing
