// What is common to the controls that a user sees. Members that are plain data are layout: they are set
// before the window opens and not changed afterwards. The others show their effect at once.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/base/Ref.h"
#include "platform/text/String.h"
#include "platform/ui/BackEnd.h"

namespace vantorel {

// A place in a window, in logical pixels from its top left corner.
struct Bounds {
  std::int32_t Left = 0;
  std::int32_t Top = 0;
  std::int32_t Width = 0;
  std::int32_t Height = 0;
};

// 0xRRGGBB.
using Color = std::uint32_t;

// How a control writes.
struct TextStyle {
  String TextFont = "System";  // the desktop's own font
  std::int32_t TextSize = 0;   // 0: the desktop's size
  bool Bold = false;
  bool Italic = false;
  bool Underline = false;
};

class RectControl : public Object, public Bounds {
 public:
  std::int32_t TabIndex = 0;  // order in which the keyboard reaches the controls
  bool Enabled = true;
  // What a screen reader calls a control that has no text of its own.
  String AccessibleName;
  bool LockLeft = false, LockTop = false, LockRight = false,
       LockBottom = false;  // without effect, see Window

  bool Visible() const { return visible_; }
  void SetVisible(bool visible) { Change(visible_, visible); }

 protected:
  explicit RectControl(const Bounds& bounds) : Bounds(bounds) {}

  // Changes a property, and lets the view, if there is one, show it.
  template <typename T>
  void Change(T& property, const T& value) {
    property = value;
    if (view_ != nullptr) view_->Update();
  }
  // The control's window is open.
  bool IsOpen() const { return view_ != nullptr; }

 private:
  friend class Window;
  bool visible_ = true;
  std::unique_ptr<ControlView> view_;
};

}  // namespace vantorel
