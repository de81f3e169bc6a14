#pragma once

#include <QBasicTimer>
#include <QWidget>

#include "platform/ui/ProgressWheel.h"

namespace vantorel {

// Draws itself a few times a second, which costs next to nothing.
class QtProgressWheel : public ControlView, public QWidget {
 public:
  QtProgressWheel(ProgressWheel& control, QWidget& window);
  void Update() override;

 private:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

  ProgressWheel& control_;
  QBasicTimer timer_;
  int step_ = 0;
};

}  // namespace vantorel
