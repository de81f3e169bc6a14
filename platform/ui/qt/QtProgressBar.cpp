#include "platform/ui/qt/QtProgressBar.h"

#include <QStyleOptionProgressBar>
#include <QStylePainter>
#include <QTimerEvent>
#include <algorithm>

#include "platform/ui/qt/QtControl.h"

namespace vantorel {

namespace {

constexpr int kMillisecondsPerStep = 120;
constexpr int kSteps = 24;      // of the wandering piece from one end to the other
constexpr int kPieceShare = 4;  // it is this part of the bar

}  // namespace

QtProgressBar::QtProgressBar(ProgressBar& control, QWidget& window)
    : QProgressBar(&window), control_(control) {
  setTextVisible(false);
  PlaceWidget(*this, control);
  QtProgressBar::Update();
}

void QtProgressBar::Update() {
  // Qt takes the range from 0 to 0 for a bar without a known end, and ignores a value outside the range.
  const std::int32_t maximum = std::max(control_.Maximum(), 0);
  setRange(0, maximum);
  setValue(std::clamp(control_.Value(), 0, maximum));
  setVisible(control_.Visible());
  if (!IsBusy() || !control_.Visible()) {
    timer_.stop();
  } else if (!timer_.isActive()) {
    timer_.start(kMillisecondsPerStep, Qt::CoarseTimer, this);
  }
}

void QtProgressBar::timerEvent(QTimerEvent* event) {
  if (event->timerId() != timer_.timerId()) return QProgressBar::timerEvent(event);
  step_ = (step_ + 1) % (2 * kSteps);
  update();
}

void QtProgressBar::paintEvent(QPaintEvent* event) {
  if (!IsBusy()) return QProgressBar::paintEvent(event);
  QStylePainter painter(this);
  QStyleOptionProgressBar option;
  initStyleOption(&option);
  painter.drawControl(QStyle::CE_ProgressBarGroove, option);
  // A full bar, of which one piece shows.
  option.maximum = option.progress = 1;
  const int piece = width() / kPieceShare;
  const int way = step_ < kSteps ? step_ : 2 * kSteps - step_;
  painter.setClipRect((width() - piece) * way / kSteps, 0, piece, height());
  painter.drawControl(QStyle::CE_ProgressBarContents, option);
}

}  // namespace vantorel
