// A field that shows text. Fields to write in are not offered.
#pragma once

#include "platform/ui/RectControl.h"

namespace vantorel {

class EditField : public RectControl {
 public:
  explicit EditField(const Bounds& bounds) : RectControl(bounds) {}

  TextStyle Style;
  Color TextColor = 0x000000;
  Color BackColor = 0xffffff;
  bool Border = true;
  bool ScrollbarVertical = false;
  bool ScrollbarHorizontal = false;
  // Without effect, see Window.
  std::int32_t Alignment = 0;  // left
  bool Multiline = false;
  bool Styled = false;
  bool Password = false;
  bool UseFocusRing = true;
  bool ReadOnly = true;
  bool AcceptTabs = false;
  std::int32_t LimitText = 0;

  // The text; invalid parts of it show as replacement characters.
  String Text() const { return text_; }
  void SetText(const String& text) { Change(text_, text); }

 private:
  String text_;
};

}  // namespace vantorel
