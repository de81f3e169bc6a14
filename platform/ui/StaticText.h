// A label.
#pragma once

#include <optional>

#include "platform/ui/RectControl.h"

namespace vantorel {

class StaticText : public RectControl, public InertLabelProperties {
 public:
  explicit StaticText(const Bounds& bounds) : RectControl(bounds) {}

  TextStyle Style;
  // Unset: the desktop's colour for texts.
  std::optional<Color> TextColor;
  // Wraps at the width. A text of one line that is too wide for the control is shown whole all the same: over
  // what lies to its right.
  bool Multiline = false;

  String Text() const { return text_; }
  void SetText(const String& text) { Change(text_, text); }

 private:
  String text_;
};

}  // namespace vantorel
