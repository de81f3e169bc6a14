// What shows the windows: the interface between the models of this folder and a window system. A model is the
// truth; a view shows it and never changes it. What the user does, a view reports through the models' Press
// and Dismiss operations, which only queue, so that a view may call them from inside a callback of its
// toolkit.
#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/base/Ref.h"
#include "platform/files/FolderItem.h"
#include "platform/text/String.h"
#include "platform/ui/Picture.h"

namespace vantorel {

class RectControl;
class Window;

// What is on the screen for as long as it lives.
class View {
 public:
  View() = default;
  View(const View&) = delete;
  View& operator=(const View&) = delete;
  virtual ~View() = default;
};

// Shows one control, which outlives it.
class ControlView : public View {
 public:
  // Shows the control as it is now. Does nothing costly when nothing that is seen has changed.
  virtual void Update() = 0;
};

// Shows one window, which outlives it.
class WindowView : public View {
 public:
  // Makes the view of a control of this window. Controls come in their order of creation; a later one lies
  // over an earlier one. The result goes before the window's view does.
  virtual std::unique_ptr<ControlView> Add(RectControl& control) = 0;

  // Brings the window to the screen. Modal: over the window shown before it, and no other window of the
  // program takes input until this one is gone.
  virtual void Show(bool modal) = 0;
  // Shows title and backdrop as they are now.
  virtual void Update() = 0;
};

class BackEnd {
 public:
  virtual ~BackEnd() = default;

  // The one in force. REQUIRES: one was installed.
  static BackEnd& Current() {
    if (current_ == nullptr) RaiseNilObjectException();
    return *current_;
  }
  // Puts `back_end` in force, in place of an earlier one; nullptr for none. All windows must be closed.
  static void Install(std::unique_ptr<BackEnd> back_end) { current_ = std::move(back_end); }

  // Makes the view of a window, not yet shown and without controls.
  virtual std::unique_ptr<WindowView> Open(Window& window) = 0;
  // Shows a message with one button over all windows; calls `dismissed` once, when the user is done with it.
  virtual std::unique_ptr<View> ShowMessage(const String& text, std::function<void()> dismissed) = 0;
  // The picture that `drawings` (not empty) hold in several sizes; the bytes live as long as the process. nil
  // if the first is no picture.
  virtual Ref<Picture> MakePicture(const std::vector<PictureDrawing>& drawings) = 0;
  // The picture in a file. nil if it cannot be read, is no picture, or is too large to show.
  virtual Ref<Picture> ReadPicture(const Ref<FolderItem>& file) = 0;
  // The program's icon in task bars and title bars; nil for none.
  virtual void SetProgramIcon(const Ref<Picture>& icon) = 0;

 private:
  static inline std::unique_ptr<BackEnd> current_;
};

// The back end of the desktop that the process runs on. It supplies the event loop's wait and the repainting
// of RuntimeBackgroundTask while it lives. Where there is no desktop, a RuntimeException says so.
std::unique_ptr<BackEnd> MakeDesktopBackEnd();

}  // namespace vantorel
