#pragma once

#include <QLabel>

#include "platform/ui/StaticText.h"

namespace vantorel {

// Writes a text whole into the room that the layout gives it. A text that is too large for it in the
// desktop's font is written smaller, and stays so, so that the size does not jump from text to text. One line
// that does not fit even then spreads to the right, over what stands there, for as long as it is shown.
class QtStaticText : public ControlView {
 public:
  QtStaticText(StaticText& control, QWidget& window);
  void Update() override;

 private:
  void Fit(const QString& text);
  int SpreadWidth(const QString& text) const;

  StaticText& control_;
  QLabel label_;
};

}  // namespace vantorel
