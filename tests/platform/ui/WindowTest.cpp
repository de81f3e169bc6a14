#include "platform/ui/Window.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/run/EventLoop.h"
#include "platform/ui/MsgBox.h"
#include "platform/ui/PushButton.h"
#include "tests/support/RecordingBackEnd.h"

namespace vantorel::testing {
namespace {

class Dialog : public Window {
 public:
  Dialog() : Window("Dialog") {
    button = _AddControl("Button", New<PushButton>(Bounds{}));
    button->Action = [this] { ++actions; };
  }
  Ref<PushButton> button;
  int actions = 0;
};

class WindowTest : public ::testing::Test {
 protected:
  ~WindowTest() override { CloseAllWindows(); }

  RecordingBackEnd& screen_ = RecordingBackEnd::Install();
};

TEST_F(WindowTest, PressesThatCountForNothing) {
  const std::tuple<const char*, std::function<void(Dialog&)>, std::function<void(Dialog&)>, int> cases[] = {
      {"an ordinary press counts", [](auto&) {}, [](auto&) {}, 1},
      {"disabled", [](auto& dialog) { dialog.button->Enabled = false; }, [](auto&) {}, 0},
      {"hidden", [](auto& dialog) { dialog.button->SetVisible(false); }, [](auto&) {}, 0},
      {"its window closed before the action ran", [](auto&) {}, [](auto& dialog) { dialog.Close(); }, 0},
  };
  for (const auto& [name, before, after, expected] : cases) {
    const Ref<Dialog> dialog = ImplicitWindow<Dialog>("Dialog");
    before(*dialog.get());
    Press(dialog, "Button");
    EXPECT_EQ(dialog->actions, 0) << name << ": ran inside the press";
    after(*dialog.get());
    EventLoop::Current().RunPending(0);
    EXPECT_EQ(dialog->actions, expected) << name;
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
