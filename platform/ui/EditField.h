// A field that shows text. Fields to write in are not offered.
#pragma once

#include "platform/ui/RectControl.h"

namespace vantorel {

class EditField : public RectControl, public InertFieldProperties {
 public:
  explicit EditField(const Bounds& bounds) : RectControl(bounds) {}

  TextStyle Style;
  Color TextColor = 0x000000;
  Color BackColor = 0xffffff;
  bool Border = true;
  bool ScrollbarVertical = false;
  bool ScrollbarHorizontal = false;

  // The text; invalid parts of it show as replacement characters.
  String Text() const { return text_; }
  void SetText(const String& text) { Change(text_, text); }

 private:
  String text_;
};

}  // namespace vantorel
