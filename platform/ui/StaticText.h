// A label.
#pragma once

#include <optional>

#include "platform/ui/RectControl.h"

namespace vantorel {

class StaticText : public RectControl {
 public:
  explicit StaticText(const Bounds& bounds) : RectControl(bounds) {}

  TextStyle Style;
  // Unset: the desktop's colour for texts.
  std::optional<Color> TextColor;
  // Wraps at the width. A text of one line that is too wide for the control is shown whole all the same: over
  // what lies to its right.
  bool Multiline = false;
  std::int32_t TextAlign = 0;  // left; without effect, see Window

  String Text() const { return text_; }
  void SetText(const String& text) { Change(text_, text); }

 private:
  String text_;
};

}  // namespace vantorel
