#include "platform/ui/qt/QtBackEnd.h"

#include <QAbstractEventDispatcher>
#include <QStyle>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "platform/run/Runtime.h"
#include "platform/ui/qt/QtMessage.h"
#include "platform/ui/qt/QtPicture.h"
#include "platform/ui/qt/QtWindow.h"

namespace vantorel {

namespace {

constexpr const char* kProgramName = "Vantorel";

// The window on top, for the next one to lie over.
QWidget* TopWindow() {
  if (QWidget* const modal = QApplication::activeModalWidget()) return modal;
  for (QWidget* const widget : QApplication::topLevelWidgets()) {
    if (widget->isVisible()) return widget;
  }
  return nullptr;
}

// Qt ends the process with a core dump where it cannot reach the display. The display of a user that is gone
// is no fault of the program.
void TellAndLeave(QtMsgType type, const QMessageLogContext& context, const QString& message) {
  std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
  if (type == QtFatalMsg) std::_Exit(EXIT_FAILURE);
}

void RequireDesktop() {
  for (const char* const variable : {"QT_QPA_PLATFORM", "WAYLAND_DISPLAY", "DISPLAY"}) {
    const char* const value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return;
  }
  throw RuntimeException(
      "there is no desktop to open a window on: neither DISPLAY nor WAYLAND_DISPLAY is set");
}

std::vector<char*> ProgramArguments() {
  RequireDesktop();
  qInstallMessageHandler(TellAndLeave);
  static char name[] = "VantorelLauncher";
  return {name, nullptr};
}

}  // namespace

std::unique_ptr<BackEnd> MakeDesktopBackEnd() {
  return std::make_unique<QtBackEnd>();
}

QtBackEnd::QtBackEnd()
    : arguments_(ProgramArguments()),
      application_(argument_count_, arguments_.data()),
      wake_(EventLoop::Current().Descriptor(), QSocketNotifier::Read) {
  QApplication::setApplicationName(QLatin1String(kProgramName));
  QApplication::setDesktopFileName(QLatin1String("vantorel-launcher"));
  QApplication::setQuitOnLastWindowClosed(false);
  application_.installEventFilter(this);
  EventLoop::Current().SetWaiter(this);
  SetRepainter(this);
}

QtBackEnd::~QtBackEnd() {
  SetRepainter(nullptr);
  EventLoop::Current().SetWaiter(nullptr);
}

std::unique_ptr<WindowView> QtBackEnd::Open(Window& window) {
  return std::make_unique<QtWindow>(window, TopWindow());
}

std::unique_ptr<View> QtBackEnd::ShowMessage(const String& text, std::function<void()> dismissed) {
  return std::make_unique<QtMessage>(text, TopWindow(), dismissed);
}

Ref<Picture> QtBackEnd::MakePicture(const std::vector<PictureDrawing>& drawings) {
  return QtPicture::FromDrawings(drawings);
}

Ref<Picture> QtBackEnd::ReadPicture(const Ref<FolderItem>& file) {
  return QtPicture::FromFile(file);
}

void QtBackEnd::SetProgramIcon(const Ref<Picture>& icon) {
  const auto picture = Cast<QtPicture>(icon);
  QApplication::setWindowIcon(picture ? picture->Icon() : QIcon());
}

void QtBackEnd::Wait(bool may_block) {
  QCoreApplication::processEvents(may_block ? QEventLoop::WaitForMoreEvents : QEventLoop::AllEvents);
}

void QtBackEnd::Repaint() {
  QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents | QEventLoop::ExcludeSocketNotifiers);
}

bool QtBackEnd::eventFilter(QObject* watched, QEvent* event) {
  if (watched == &application_ && event->type() == QEvent::Quit) {
    EventLoop::Current().Queue([] { Quit(0); });
    return true;
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace vantorel
