// A field that shows text. Fields to write in are not offered: every layout has `ReadOnly` set and `Styled`,
// `Password` and `LimitText` unset.
#pragma once

#include "platform/ui/RectControl.h"

namespace vantorel {

class EditField : public RectControl {
 public:
  explicit EditField(const Bounds& bounds) : RectControl(bounds) {}

  TextStyle Style;
  std::int32_t Alignment = 0;  // 0: left
  Color TextColor = 0x000000;
  Color BackColor = 0xffffff;
  bool Border = true;
  bool Multiline = false;
  bool ScrollbarVertical = false;
  bool ScrollbarHorizontal = false;
  bool Styled = false;
  bool Password = false;
  bool UseFocusRing = true;  // false: the text cursor alone shows the keyboard's focus
  bool ReadOnly = true;
  bool AcceptTabs = false;
  std::int32_t LimitText = 0;  // 0: no limit

  // The text; invalid parts of it show as replacement characters.
  String Text() const { return text_; }
  void SetText(const String& text);

 private:
  std::unique_ptr<ControlView> MakeView(WindowView& window) override { return window.Add(*this); }

  String text_;
};

}  // namespace vantorel
