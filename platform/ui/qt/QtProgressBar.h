#pragma once

#include <QProgressBar>

#include "platform/ui/ProgressBar.h"

namespace vantorel {

class QtProgressBar : public ControlView {
 public:
  QtProgressBar(ProgressBar& control, QWidget& window);
  void Update() override;

 private:
  ProgressBar& control_;
  QProgressBar bar_;
};

}  // namespace vantorel
