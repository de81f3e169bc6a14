#include <QPushButton>

#include "platform/ui/PushButton.h"
#include "platform/ui/qt/QtControls.h"

namespace vantorel {

namespace {

constexpr int kLeastPixels = 9;
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

std::unique_ptr<ControlView> MakeQtView(PushButton& control, QWidget& window, const QRect& place) {
  return std::make_unique<PushButtonView>(control, window, place);
}

}  // namespace vantorel
