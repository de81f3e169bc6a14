// The controls that fit a text of their own into their room: the label and the button.
#include <QLabel>
#include <QPushButton>

#include "platform/ui/PushButton.h"
#include "platform/ui/StaticText.h"
#include "platform/ui/qt/QtControls.h"

namespace vantorel {

namespace {

// Below this, text is no longer read with ease.
constexpr int kLeastPixels = 9;
// Room around a text that covers others.
constexpr int kMargin = 4;

// Writes a text whole into the room that the layout gives it. A text that is too large for it in the
// desktop's font is written smaller, and stays so, so that the size does not jump from text to text. One line
// that does not fit even then spreads to the right, over what stands there, for as long as it is shown.
class StaticTextView : public QtControl<QLabel, StaticText> {
 public:
  StaticTextView(StaticText& control, QWidget& window, const QRect& place)
      : QtControl(control, window, place), place_(place) {
    setTextFormat(Qt::PlainText);
    setFont(ToQFont(control.Style));
    setAlignment(Qt::AlignLeft | (control.Multiline ? Qt::AlignTop : Qt::AlignVCenter));
    setWordWrap(control.Multiline);
    if (control.TextColor) {
      QPalette colors = palette();
      colors.setColor(QPalette::WindowText, QColor::fromRgb(*control.TextColor));
      setPalette(colors);
    }
    StaticTextView::Update();
  }

  void Update() override {
    const QString wanted = ToQString(control_.Text());
    if (wanted != text()) {
      Fit(wanted);
      setText(wanted);
    }
    QtControl::Update();
  }

 private:
  void Fit(const QString& wanted) {
    const QFont fitted = FittedFont(font(), wanted, place_.size(), control_.Multiline, kLeastPixels);
    const bool spreads = !control_.Multiline && LineWidth(fitted, wanted) > place_.width();
    // A text that spreads gains nothing from being small.
    if (!spreads) setFont(fitted);
    QRect place = place_;
    if (spreads) place.setWidth(SpreadWidth(wanted));
    setGeometry(place);
    setAutoFillBackground(spreads);
    if (spreads) raise();
  }

  // A text that leaves little of the row takes all of it: no scraps of what it covers.
  int SpreadWidth(const QString& wanted) const {
    const int room = parentWidget()->width() - place_.left();
    const int needed = LineWidth(font(), wanted) + kMargin;
    return needed < room / 2 ? needed : room;
  }

  QRect place_;
};

// What a style needs for the frame and the focus mark, on both sides together.
constexpr QSize kFrame(12, 4);

class PushButtonView : public QtControl<QPushButton, PushButton> {
 public:
  PushButtonView(PushButton& control, QWidget& window, const QRect& place)
      : QtControl(control, window, place) {
    const QString caption = ToQString(control.Caption);
    setText(QString(caption).replace(QLatin1Char('&'), QLatin1String("&&")));
    setFont(FittedFont(ToQFont(control.Style), caption, place.size() - kFrame, false, kLeastPixels));
    setAutoDefault(true);
    setDefault(control.Default);
    QObject::connect(this, &QPushButton::clicked, this, [this] { control_.Press(); });
  }
};

}  // namespace

std::unique_ptr<ControlView> MakeQtView(StaticText& control, QWidget& window, const QRect& place) {
  return std::make_unique<StaticTextView>(control, window, place);
}

std::unique_ptr<ControlView> MakeQtView(PushButton& control, QWidget& window, const QRect& place) {
  return std::make_unique<PushButtonView>(control, window, place);
}

}  // namespace vantorel
