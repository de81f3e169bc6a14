#pragma once

#include <QMenu>
#include <QPlainTextEdit>

#include "platform/ui/EditField.h"

namespace vantorel {

class QtEditField : public ControlView {
 public:
  QtEditField(EditField& control, QWidget& window);
  void Update() override;
  QWidget& Widget() { return field_; }

 private:
  EditField& control_;
  QPlainTextEdit field_;
  QMenu menu_;
  String shown_;
};

}  // namespace vantorel
