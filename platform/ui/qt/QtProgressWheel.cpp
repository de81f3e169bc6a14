#include "platform/ui/ProgressWheel.h"

#include <QBasicTimer>
#include <QPainter>
#include <algorithm>

#include "platform/ui/qt/QtControls.h"

namespace vantorel {

namespace {

constexpr int kSpokes = 8;
constexpr int kMillisecondsPerStep = 125;

// Draws itself a few times a second, which costs next to nothing.
class ProgressWheelView : public QtControl<QWidget, ProgressWheel> {
 public:
  using QtControl::QtControl;

 private:
  void showEvent(QShowEvent* /*event*/) override {
    timer_.start(kMillisecondsPerStep, Qt::CoarseTimer, this);
  }
  void hideEvent(QHideEvent* /*event*/) override { timer_.stop(); }
  void timerEvent(QTimerEvent* /*event*/) override {
    step_ = (step_ + 1) % kSpokes;
    update();
  }
  void paintEvent(QPaintEvent* event) override;

  QBasicTimer timer_;
  int step_ = 0;
};

void ProgressWheelView::paintEvent(QPaintEvent* /*event*/) {
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

}  // namespace

std::unique_ptr<ControlView> MakeQtView(ProgressWheel& control, QWidget& window, const QRect& place) {
  return std::make_unique<ProgressWheelView>(control, window, place);
}

}  // namespace vantorel
