// What shows that something goes on: the bar and the wheel.
#include <QBasicTimer>
#include <QPainter>
#include <QProgressBar>
#include <QStyleOptionProgressBar>
#include <QStylePainter>
#include <QTimerEvent>
#include <algorithm>

#include "platform/ui/ProgressBar.h"
#include "platform/ui/ProgressWheel.h"
#include "platform/ui/qt/QtControls.h"

namespace vantorel {

namespace {

constexpr int kMillisecondsPerStep = 120;
constexpr int kSteps = 24;      // of the wandering piece from one end to the other
constexpr int kPieceShare = 4;  // it is this part of the bar

// The desktop's bar. One without a known end shows a piece that wanders, in a few steps a second: the styles'
// own animations cost more processor time than the download.
class ProgressBarView : public QtControl<QProgressBar, ProgressBar> {
 public:
  ProgressBarView(ProgressBar& control, QWidget& window, const QRect& place)
      : QtControl(control, window, place) {
    setTextVisible(false);
    ProgressBarView::Update();
  }

  void Update() override {
    // Qt takes the range from 0 to 0 for a bar without a known end, and ignores a value outside the range.
    const std::int32_t maximum = std::max(control_.Maximum(), 0);
    setRange(0, maximum);
    setValue(std::clamp(control_.Value(), 0, maximum));
    QtControl::Update();
    if (!IsBusy() || !control_.Visible()) {
      timer_.stop();
    } else if (!timer_.isActive()) {
      timer_.start(kMillisecondsPerStep, Qt::CoarseTimer, this);
    }
  }

 private:
  bool IsBusy() const { return maximum() == 0; }

  void timerEvent(QTimerEvent* event) override {
    if (event->timerId() != timer_.timerId()) return QProgressBar::timerEvent(event);
    step_ = (step_ + 1) % (2 * kSteps);
    update();
  }
  void paintEvent(QPaintEvent* event) override {
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

  QBasicTimer timer_;
  int step_ = 0;
};

constexpr int kSpokes = 8;
constexpr int kMillisecondsPerTurnStep = 125;

// Draws itself a few times a second, which costs next to nothing.
class ProgressWheelView : public QtControl<QWidget, ProgressWheel> {
 public:
  using QtControl::QtControl;

 private:
  void showEvent(QShowEvent* /*event*/) override {
    timer_.start(kMillisecondsPerTurnStep, Qt::CoarseTimer, this);
  }
  void hideEvent(QHideEvent* /*event*/) override { timer_.stop(); }
  void timerEvent(QTimerEvent* /*event*/) override {
    step_ = (step_ + 1) % kSpokes;
    update();
  }
  void paintEvent(QPaintEvent* /*event*/) override {
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

  QBasicTimer timer_;
  int step_ = 0;
};

}  // namespace

std::unique_ptr<ControlView> MakeQtView(ProgressBar& control, QWidget& window, const QRect& place) {
  return std::make_unique<ProgressBarView>(control, window, place);
}

std::unique_ptr<ControlView> MakeQtView(ProgressWheel& control, QWidget& window, const QRect& place) {
  return std::make_unique<ProgressWheelView>(control, window, place);
}

}  // namespace vantorel
