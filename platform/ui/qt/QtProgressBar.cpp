#include "platform/ui/qt/QtProgressBar.h"

#include <algorithm>

#include "platform/ui/qt/QtControl.h"

namespace vantorel {

QtProgressBar::QtProgressBar(ProgressBar& control, QWidget& window) : control_(control), bar_(&window) {
  bar_.setTextVisible(false);
  PlaceWidget(bar_, control);
  QtProgressBar::Update();
}

void QtProgressBar::Update() {
  // Qt takes the range from 0 to 0 for a bar without a known end, and ignores a value outside the range.
  const std::int32_t maximum = std::max(control_.Maximum(), 0);
  bar_.setRange(0, maximum);
  bar_.setValue(std::clamp(control_.Value(), 0, maximum));
  bar_.setVisible(control_.Visible());
}

}  // namespace vantorel
