#pragma once

#include <QBasicTimer>
#include <QProgressBar>

#include "platform/ui/ProgressBar.h"

namespace vantorel {

// The desktop's bar. One without a known end shows a piece that wanders, in a few steps a second: the styles'
// own animations cost more processor time than the download.
class QtProgressBar : public ControlView, public QProgressBar {
 public:
  QtProgressBar(ProgressBar& control, QWidget& window);
  void Update() override;

 private:
  bool IsBusy() const { return maximum() == 0; }

  void timerEvent(QTimerEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

  ProgressBar& control_;
  QBasicTimer timer_;
  int step_ = 0;
};

}  // namespace vantorel
