#pragma once

#include <QMessageBox>
#include <QPointer>
#include <functional>

#include "platform/ui/BackEnd.h"

namespace vantorel {

class QtMessage : public View {
 public:
  QtMessage(const String& text, QWidget* parent, const std::function<void()>& dismissed);
  ~QtMessage() override;

 private:
  // Belongs to the parent too, and goes with it.
  QPointer<QMessageBox> box_;
};

}  // namespace vantorel
