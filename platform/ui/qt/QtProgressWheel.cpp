#include "platform/ui/qt/QtProgressWheel.h"

#include <QPainter>
#include <algorithm>

#include "platform/ui/qt/QtControl.h"

namespace vantorel {

namespace {

constexpr int kSpokes = 8;
constexpr int kMillisecondsPerStep = 125;

}  // namespace

QtProgressWheel::QtProgressWheel(ProgressWheel& control, QWidget& window)
    : QWidget(&window), control_(control) {
  PlaceWidget(*this, control);
}

void QtProgressWheel::Update() {
  setVisible(control_.Visible());
}

void QtProgressWheel::showEvent(QShowEvent* /*event*/) {
  timer_.start(kMillisecondsPerStep, Qt::CoarseTimer, this);
}

void QtProgressWheel::hideEvent(QHideEvent* /*event*/) {
  timer_.stop();
}

void QtProgressWheel::timerEvent(QTimerEvent* /*event*/) {
  step_ = (step_ + 1) % kSpokes;
  update();
}

void QtProgressWheel::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(QRectF(rect()).center());
  const double radius = std::min(width(), height()) / 2.0;
  QColor color = palette().color(QPalette::WindowText);
  for (int spoke = 0; spoke < kSpokes; ++spoke) {
    // The spoke that leads is the darkest; those behind it fade.
    const int age = (step_ - spoke + kSpokes) % kSpokes;
    color.setAlphaF(static_cast<float>(0.85 - 0.75 * age / kSpokes));
    painter.setPen(QPen(color, radius * 0.22, Qt::SolidLine, Qt::RoundCap));
    painter.save();
    painter.rotate(360.0 * spoke / kSpokes);
    painter.drawLine(QPointF(0, -radius * 0.48), QPointF(0, -radius * 0.86));
    painter.restore();
  }
}

}  // namespace vantorel
