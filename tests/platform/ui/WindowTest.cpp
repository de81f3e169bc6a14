#include "platform/ui/Window.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/run/EventLoop.h"
#include "platform/run/Quit.h"
#include "platform/run/Timer.h"
#include "platform/ui/EditField.h"
#include "platform/ui/MsgBox.h"
#include "platform/ui/ProgressBar.h"
#include "platform/ui/ProgressWheel.h"
#include "platform/ui/PushButton.h"
#include "platform/ui/StaticText.h"
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
  void Event_Open() override { opened_before_shown = shown_so_far().empty(); }

  static std::vector<Window*>& shown_so_far() {
    return static_cast<RecordingBackEnd&>(BackEnd::Current()).shown;
  }

  static inline int timers_fired = 0;
  bool opened_before_shown = false;
  std::function<void()> on_press;
  Ref<PushButton> button;
  Ref<Timer> timer;
};

struct Kept : Object {
  explicit Kept(bool& alive_in) : alive(alive_in) { alive = true; }
  ~Kept() override { alive = false; }
  bool& alive;
};

class WindowTest : public ::testing::Test {
 protected:
  ~WindowTest() override { CloseAllWindows(); }

  static Ref<Dialog> Open() { return ImplicitWindow<Dialog>("Dialog"); }

  RecordingBackEnd& screen_ = RecordingBackEnd::Install();
};

TEST_F(WindowTest, ThereIsOneInstanceUntilItIsClosed) {
  EXPECT_TRUE(_GetImplicitWindow("Dialog") == nil);
  const Ref<Dialog> first = Open();
  EXPECT_TRUE(Open() == first);
  EXPECT_TRUE(_GetImplicitWindow("Dialog") == first);
  first->Close();
  EXPECT_TRUE(_GetImplicitWindow("Dialog") == nil);
  EXPECT_FALSE(Open() == first);
}

TEST_F(WindowTest, WhatItAllocatedLivesAsLongAsTheWindow) {
  bool alive = false;
  Open()->__New<Kept>(alive);
  EXPECT_TRUE(alive);
  Open()->Close();
  EXPECT_FALSE(alive);
}

TEST_F(WindowTest, ItAppearsWithTheNextTurnOfTheLoop) {
  const Ref<Dialog> dialog = Open();
  EXPECT_TRUE(dialog->opened_before_shown);
  EXPECT_TRUE(screen_.shown.empty());
  EventLoop::Current().RunPending(0);
  EXPECT_EQ(screen_.shown, std::vector<Window*>{dialog.get()});
}

TEST_F(WindowTest, ShowModalReturnsWhenAHandlerClosesTheWindow) {
  screen_.on_modal = [](Window& window) { Press(Ref<Window>(&window), "Button"); };
  Ref<Dialog> dialog = Open();
  dialog->ShowModal();
  EXPECT_FALSE(dialog->IsOpen());
  EXPECT_TRUE(screen_.shown.empty());
}

TEST_F(WindowTest, QuitAndFaultsUnwindThroughTheModalWait) {
  screen_.on_modal = [](Window& window) { Press(Ref<Window>(&window), "Button"); };
  const Ref<Dialog> dialog = Open();
  dialog->on_press = [] { Quit(3); };
  EXPECT_THROW(dialog->ShowModal(), EndException);
  EXPECT_TRUE(dialog->IsOpen());
}

TEST_F(WindowTest, PressesThatCountForNothing) {
  struct Case {
    const char* name;
    std::function<void(Dialog&)> before, after;
    int actions;
  };
  const Case cases[] = {
      {"an ordinary press counts", [](auto&) {}, [](auto&) {}, 1},
      {"disabled", [](auto& dialog) { dialog.button->Enabled = false; }, [](auto&) {}, 0},
      {"hidden", [](auto& dialog) { dialog.button->SetVisible(false); }, [](auto&) {}, 0},
      {"its window closed before the action ran", [](auto&) {}, [](auto& dialog) { dialog.Close(); }, 0},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    int actions = 0;
    const Ref<Dialog> dialog = Open();
    dialog->on_press = [&] { ++actions; };
    each.before(*dialog.get());
    Press(dialog, "Button");
    EXPECT_EQ(actions, 0) << "ran inside the press";
    each.after(*dialog.get());
    EventLoop::Current().RunPending(0);
    EXPECT_EQ(actions, each.actions);
    CloseAllWindows();
  }
}

TEST_F(WindowTest, TimersEndWithTheirWindow) {
  Dialog::timers_fired = 0;
  const Ref<Dialog> dialog = Open();
  dialog->Close();
  EventLoop::Current().RunPending(20);
  EXPECT_EQ(Dialog::timers_fired, 0);
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
