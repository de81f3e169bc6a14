#include "platform/ui/qt/QtPushButton.h"

#include "platform/ui/qt/QtControl.h"

namespace vantorel {

namespace {

constexpr int kLeastPixels = 9;
// What a style needs for the frame and the focus mark, on both sides together.
constexpr QSize kFrame(12, 4);

}  // namespace

QtPushButton::QtPushButton(PushButton& control, QWidget& window) : control_(control), button_(&window) {
  const QString caption = ToQString(control.Caption);
  const QSize space = QSize(control.Width, control.Height) - kFrame;
  button_.setText(QString(caption).replace(QLatin1Char('&'), QLatin1String("&&")));
  button_.setFont(FittedFont(ToQFont(control.Style), caption, space, false, kLeastPixels));
  button_.setAutoDefault(true);
  button_.setDefault(control.Default);
  QObject::connect(&button_, &QPushButton::clicked, &button_, [this] { control_.Press(); });
  PlaceWidget(button_, control);
}

void QtPushButton::Update() {
  button_.setVisible(control_.Visible());
}

}  // namespace vantorel
