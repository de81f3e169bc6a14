#pragma once

#include <QDialog>
#include <QPointer>
#include <cstdint>
#include <map>
#include <memory>

#include "platform/ui/Window.h"

namespace vantorel {

class PushButton;

// A dialog to the toolkit, which gives Return to the default button and Escape to the cancelling one.
class QtWindow : public WindowView, public QDialog {
 public:
  // `parent` is the window to lie over; nullptr for none.
  QtWindow(Window& model, QWidget* parent);

  std::unique_ptr<ControlView> Add(RectControl& control) override;

  void Show(bool modal) override;
  void Update() override;

 private:
  void reject() override;
  void closeEvent(QCloseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

  // The part of the screen that the window's content can have.
  QRect Room() const;
  // The place of a control in a window that may be smaller than its layout.
  QRect PlaceOf(const RectControl& control) const;
  // The place for the window's top left corner.
  QPoint Origin() const;
  void OrderTabs();

  Window& model_;
  QPointer<QWidget> parent_;
  PushButton* cancel_ = nullptr;
  std::multimap<std::int32_t, QWidget*> tab_order_;
};

}  // namespace vantorel
