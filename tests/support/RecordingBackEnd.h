// A back end without a screen: keeps what would be seen, and lets a test see and press it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/ui/BackEnd.h"
#include "platform/ui/Window.h"

namespace vantorel::testing {

class RecordingBackEnd : public BackEnd {
 public:
  // Puts a new one in force; it stays so until the next is installed.
  static RecordingBackEnd& Install();

  // The windows on the screen, in their order of appearance; a modal one takes all input.
  std::vector<Window*> shown;
  std::vector<std::string> messages;
  // What the user does when a window has appeared modally, or a message. Runs from the event loop.
  std::function<void(Window&)> on_modal;
  // Unset: dismisses it.
  std::function<void(const std::string&)> on_message;

  std::unique_ptr<WindowView> Open(Window& window) override;
  std::unique_ptr<View> ShowMessage(const String& text, std::function<void()> dismissed) override;
  Ref<Picture> MakePicture(const std::vector<PictureDrawing>& /*drawings*/) override { return nil; }
  Ref<Picture> ReadPicture(const Ref<FolderItem>& /*file*/) override { return nil; }
  void SetProgramIcon(const Ref<Picture>& /*icon*/) override {}
};

// Presses a button as a user does.
void Press(const Ref<Window>& window, const char* button);

}  // namespace vantorel::testing
