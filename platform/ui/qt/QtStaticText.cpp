#include "platform/ui/qt/QtStaticText.h"

#include <algorithm>

#include "platform/ui/qt/QtControl.h"

namespace vantorel {

namespace {

// Below this, text is no longer read with ease.
constexpr int kLeastPixels = 9;
// Room around a text that covers others.
constexpr int kMargin = 4;

Qt::Alignment AlignmentOf(const StaticText& control) {
  static constexpr Qt::AlignmentFlag kHorizontal[] = {Qt::AlignLeft, Qt::AlignHCenter, Qt::AlignRight};
  const auto horizontal = kHorizontal[std::clamp(control.TextAlign, 0, 2)];
  return horizontal | (control.Multiline ? Qt::AlignTop : Qt::AlignVCenter);
}

}  // namespace

QtStaticText::QtStaticText(StaticText& control, QWidget& window) : control_(control), label_(&window) {
  label_.setTextFormat(Qt::PlainText);
  label_.setFont(ToQFont(control.Style));
  label_.setAlignment(AlignmentOf(control));
  label_.setWordWrap(control.Multiline);
  if (control.TextColor) {
    QPalette palette = label_.palette();
    palette.setColor(QPalette::WindowText, ToQColor(*control.TextColor));
    label_.setPalette(palette);
  }
  PlaceWidget(label_, control);
  QtStaticText::Update();
}

void QtStaticText::Update() {
  const QString text = ToQString(control_.Text());
  if (text != label_.text()) {
    Fit(text);
    label_.setText(text);
  }
  label_.setVisible(control_.Visible());
}

void QtStaticText::Fit(const QString& text) {
  const QSize space(control_.Width, control_.Height);
  const QFont fitted = FittedFont(label_.font(), text, space, control_.Multiline, kLeastPixels);
  const int needed = control_.Multiline ? 0 : LineWidth(fitted, text);
  const bool spreads = needed > control_.Width;
  // A text that spreads gains nothing from being small.
  if (!spreads) label_.setFont(fitted);
  label_.setGeometry(control_.Left, control_.Top, spreads ? SpreadWidth(text) : control_.Width,
                     control_.Height);
  label_.setAutoFillBackground(spreads);
  if (spreads) label_.raise();
}

// A text that leaves little of the row takes all of it: no scraps of what it covers.
int QtStaticText::SpreadWidth(const QString& text) const {
  const int room = label_.parentWidget()->width() - control_.Left;
  const int needed = LineWidth(label_.font(), text) + kMargin;
  return needed < room / 2 ? needed : room;
}

}  // namespace vantorel
