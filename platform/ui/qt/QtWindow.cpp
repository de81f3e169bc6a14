#include "platform/ui/qt/QtWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QWindow>
#include <algorithm>

#include "platform/ui/EditField.h"
#include "platform/ui/ProgressBar.h"
#include "platform/ui/ProgressWheel.h"
#include "platform/ui/PushButton.h"
#include "platform/ui/StaticText.h"
#include "platform/ui/qt/QtControls.h"
#include "platform/ui/qt/QtPicture.h"
#include "platform/ui/qt/QtText.h"

namespace vantorel {

namespace {

// Pictures may be drawn in up to this many times the window's size, for screens of high density.
constexpr int kMostBackdropScale = 4;
// What a window manager's title bar and edges take, at the most.
constexpr QMargins kFrame(4, 36, 4, 4);

Qt::WindowFlags FlagsOf(const Window& model) {
  if (model.Frame == Window::kFramePlainBox) return Qt::Window | Qt::FramelessWindowHint;
  return Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint;
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

// The view of a control that is of one of the classes.
template <typename... Classes>
std::unique_ptr<ControlView> MakeViewOf(RectControl& control, QWidget& window, const QRect& place) {
  std::unique_ptr<ControlView> view;
  const auto try_class = [&]<typename Class>(Class* of_class) {
    if (of_class != nullptr) view = MakeQtView(*of_class, window, place);
  };
  (try_class(dynamic_cast<Classes*>(&control)), ...);
  return view;
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
  if (model.HasBackColor) setPalette(PaletteOn(QColor::fromRgb(model.BackColor)));
  const QSize wanted(model.Width, model.Height);
  setFixedSize(wanted.boundedTo(Room().size()));
  QtWindow::Update();
}

// Where the window is smaller than its layout, a control that takes more than half of it gives way, and one
// that begins in its second half moves along.
QRect QtWindow::PlaceOf(const RectControl& control) const {
  const auto fit = [](int& begin, int& length, int layout, int missing) {
    int& gives_way = 2 * length > layout ? length : begin;
    if (2 * length > layout || 2 * begin > layout) gives_way -= missing;
  };
  int left = control.Left, top = control.Top, across = control.Width, down = control.Height;
  fit(left, across, model_.Width, model_.Width - width());
  fit(top, down, model_.Height, model_.Height - height());
  return {left, top, across, down};
}

std::unique_ptr<ControlView> QtWindow::Add(RectControl& control) {
  auto view = MakeViewOf<ProgressBar, ProgressWheel, StaticText, EditField, PushButton>(control, *this,
                                                                                        PlaceOf(control));
  auto* const button = dynamic_cast<PushButton*>(&control);
  if (button != nullptr && button->Cancel) cancel_ = button;
  if (button != nullptr || dynamic_cast<EditField*>(&control) != nullptr) {
    tab_order_.emplace(control.TabIndex, dynamic_cast<QWidget*>(view.get()));
  }
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

QRect QtWindow::Room() const {
  const QRect screen_room = (parent_ != nullptr ? parent_->screen() : screen())->availableGeometry();
  return model_.Frame == Window::kFramePlainBox ? screen_room : screen_room.marginsRemoved(kFrame);
}

QPoint QtWindow::Origin() const {
  const QRect room = Room();
  const bool over_parent = model_.Placement == Window::kPlacedOverParent && parent_ != nullptr;
  QRect place(QPoint(), size());
  place.moveCenter(over_parent ? parent_->geometry().center() : room.center());
  place.moveRight(std::min(place.right(), room.right()));
  place.moveBottom(std::min(place.bottom(), room.bottom()));
  return {std::max(place.left(), room.left()), std::max(place.top(), room.top())};
}

void QtWindow::Update() {
  setWindowTitle(ToQString(model_.Title()));
  update();
}

void QtWindow::reject() {
  if (cancel_ != nullptr) cancel_->Press();
}

// No window has a close box, and none closes by the window manager's key either.
void QtWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
}

// A window without a title bar is moved by its surface.
void QtWindow::mousePressEvent(QMouseEvent* event) {
  if (model_.Frame == Window::kFramePlainBox && event->button() == Qt::LeftButton) {
    windowHandle()->startSystemMove();
  }
}

void QtWindow::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  if (model_.HasBackColor) painter.fillRect(event->rect(), QColor::fromRgb(model_.BackColor));
  const Ref<Picture> backdrop = model_.Backdrop();
  if (const auto picture = Cast<QtPicture>(backdrop)) {
    picture->Paint(painter, BackdropPlace({picture->Width(), picture->Height()}, size()));
  }
}

}  // namespace vantorel
