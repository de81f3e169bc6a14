#include "platform/ui/qt/QtWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>
#include <utility>

#include "platform/run/EventLoop.h"
#include "platform/ui/PushButton.h"
#include "platform/ui/qt/QtEditField.h"
#include "platform/ui/qt/QtPicture.h"
#include "platform/ui/qt/QtProgressBar.h"
#include "platform/ui/qt/QtProgressWheel.h"
#include "platform/ui/qt/QtPushButton.h"
#include "platform/ui/qt/QtStaticText.h"
#include "platform/ui/qt/QtText.h"

namespace vantorel {

namespace {

// Pictures may be drawn in up to this many times the window's size, for screens of high density.
constexpr int kMostBackdropScale = 4;

Qt::WindowFlags FlagsOf(const Window& model) {
  if (model.Frame == Window::kFramePlainBox) return Qt::Window | Qt::FramelessWindowHint;
  Qt::WindowFlags flags = Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint;
  flags.setFlag(Qt::WindowCloseButtonHint, model.CloseButton);
  flags.setFlag(Qt::WindowMaximizeButtonHint, model.MaximizeButton);
  flags.setFlag(Qt::WindowMinimizeButtonHint, model.MinimizeButton);
  return flags;
}

// The colours of a desktop whose windows have this colour, with the accent of the real one.
QPalette PaletteOn(QColor background) {
  QPalette palette(background);
  const QPalette desktop = QApplication::palette();
  for (const auto role : {QPalette::Highlight, QPalette::HighlightedText}) {
    palette.setBrush(role, desktop.brush(role));
  }
  return palette;
}

// Where a picture of that size goes in a window: unscaled, unless it is the window's size exactly doubled,
// tripled and so on.
QRect BackdropPlace(QSize picture, QSize window) {
  for (int scale = 2; scale <= kMostBackdropScale; ++scale) {
    if (picture == window * scale) return {QPoint(), window};
  }
  return {QPoint(), picture};
}

}  // namespace

QtWindow::QtWindow(Window& model, QWidget* parent)
    : QDialog(nullptr, FlagsOf(model)), model_(model), parent_(parent) {
  if (model.HasBackColor) setPalette(PaletteOn(ToQColor(model.BackColor)));
  if (model.Resizeable) {
    setMinimumSize(model.MinWidth, model.MinHeight);
    setMaximumSize(model.MaxWidth, model.MaxHeight);
    resize(model.Width, model.Height);
  } else {
    setFixedSize(model.Width, model.Height);
  }
  QtWindow::Update();
}

std::unique_ptr<ControlView> QtWindow::Add(ProgressBar& control) {
  return std::make_unique<QtProgressBar>(control, *this);
}

std::unique_ptr<ControlView> QtWindow::Add(ProgressWheel& control) {
  return std::make_unique<QtProgressWheel>(control, *this);
}

std::unique_ptr<ControlView> QtWindow::Add(StaticText& control) {
  return std::make_unique<QtStaticText>(control, *this);
}

std::unique_ptr<ControlView> QtWindow::Add(EditField& control) {
  auto view = std::make_unique<QtEditField>(control, *this);
  tab_order_.emplace(control.TabIndex, &view->Widget());
  return view;
}

std::unique_ptr<ControlView> QtWindow::Add(PushButton& control) {
  if (control.Cancel) cancel_ = &control;
  auto view = std::make_unique<QtPushButton>(control, *this);
  tab_order_.emplace(control.TabIndex, &view->Widget());
  return view;
}

void QtWindow::OrderTabs() {
  QWidget* before = nullptr;
  for (const auto& [index, widget] : tab_order_) {
    if (before != nullptr) setTabOrder(before, widget);
    before = widget;
  }
  if (!tab_order_.empty()) tab_order_.begin()->second->setFocus();
}

void QtWindow::Show(bool modal) {
  OrderTabs();
  winId();  // makes the toolkit's window, which takes parent and place
  if (parent_ != nullptr) windowHandle()->setTransientParent(parent_->windowHandle());
  setWindowModality(modal ? Qt::ApplicationModal : Qt::NonModal);
  move(Origin());
  show();
  activateWindow();
}

QPoint QtWindow::Origin() const {
  const QRect available = (parent_ != nullptr ? parent_->screen() : screen())->availableGeometry();
  const bool over_parent = model_.Placement == Window::kPlacedOverParent && parent_ != nullptr;
  QRect place(QPoint(), size());
  place.moveCenter(over_parent ? parent_->geometry().center() : available.center());
  return {std::max(place.left(), available.left()), std::max(place.top(), available.top())};
}

void QtWindow::Update() {
  setWindowTitle(ToQString(model_.Title()));
  update();
}

void QtWindow::reject() {
  if (cancel_ != nullptr) cancel_->Press();
}

// A window without a close box does not close by the window manager's key either.
void QtWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  if (!model_.CloseButton) return;
  EventLoop::Current().Queue([window = Ref<Window>(&model_)] { window->Close(); });
}

// A window without a title bar is moved by its surface.
void QtWindow::mousePressEvent(QMouseEvent* event) {
  if (model_.Frame == Window::kFramePlainBox && event->button() == Qt::LeftButton) {
    windowHandle()->startSystemMove();
  }
}

void QtWindow::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  if (model_.HasBackColor) painter.fillRect(event->rect(), ToQColor(model_.BackColor));
  const Ref<Picture> backdrop = model_.Backdrop();
  if (const auto picture = Cast<QtPicture>(backdrop)) {
    picture->Paint(painter, BackdropPlace({picture->Width(), picture->Height()}, size()));
  }
}

}  // namespace vantorel
