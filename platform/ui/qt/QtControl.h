// What the views of all controls share: a widget in a window, kept in step with its model.
#pragma once

#include <QWidget>
#include <memory>

#include "platform/ui/BackEnd.h"
#include "platform/ui/RectControl.h"
#include "platform/ui/qt/QtText.h"

namespace vantorel {

// Gives a new widget the place, the name and the state of its control.
inline void PlaceWidget(QWidget& widget, const RectControl& control) {
  widget.setGeometry(control.Left, control.Top, control.Width, control.Height);
  widget.setAccessibleName(ToQString(control.AccessibleName));
  widget.setEnabled(control.Enabled);
  widget.setVisible(control.Visible());
}

}  // namespace vantorel
