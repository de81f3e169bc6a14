// The views of the controls: widgets of the toolkit, each kept in step with its model.
#pragma once

#include <QRect>
#include <QWidget>
#include <memory>

#include "platform/ui/BackEnd.h"
#include "platform/ui/RectControl.h"
#include "platform/ui/qt/QtText.h"

namespace vantorel {

class EditField;
class ProgressBar;
class ProgressWheel;
class PushButton;
class StaticText;

// Make a view in `window` at `place`. It is a QWidget.
std::unique_ptr<ControlView> MakeQtView(ProgressBar& control, QWidget& window, const QRect& place);
std::unique_ptr<ControlView> MakeQtView(ProgressWheel& control, QWidget& window, const QRect& place);
std::unique_ptr<ControlView> MakeQtView(StaticText& control, QWidget& window, const QRect& place);
std::unique_ptr<ControlView> MakeQtView(EditField& control, QWidget& window, const QRect& place);
std::unique_ptr<ControlView> MakeQtView(PushButton& control, QWidget& window, const QRect& place);

// What they share.
template <typename Widget, typename Control>
class QtControl : public ControlView, public Widget {
 public:
  QtControl(Control& control, QWidget& window, const QRect& place) : Widget(&window), control_(control) {
    this->setGeometry(place);
    this->setAccessibleName(ToQString(control.AccessibleName));
    this->setEnabled(control.Enabled);
    this->setVisible(control.Visible());
  }
  void Update() override { this->setVisible(control_.Visible()); }

 protected:
  Control& control_;
};

}  // namespace vantorel
