#pragma once

#include <QPushButton>

#include "platform/ui/PushButton.h"

namespace vantorel {

class QtPushButton : public ControlView {
 public:
  QtPushButton(PushButton& control, QWidget& window);
  void Update() override;
  QWidget& Widget() { return button_; }

 private:
  PushButton& control_;
  QPushButton button_;
};

}  // namespace vantorel
