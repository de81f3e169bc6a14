// The back end over Qt 6 Widgets.
#include <QApplication>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSocketNotifier>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/run/BackgroundTask.h"
#include "platform/run/EventLoop.h"
#include "platform/run/Runtime.h"
#include "platform/ui/BackEnd.h"
#include "platform/ui/qt/QtPicture.h"
#include "platform/ui/qt/QtText.h"
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

class Box : public QMessageBox {
 public:
  using QMessageBox::QMessageBox;

 private:
  // The box takes its size only now; the toolkit has placed it before, by a size that it does not have.
  void showEvent(QShowEvent* event) override {
    QMessageBox::showEvent(event);
    if (parentWidget() == nullptr) return;
    QRect place = rect();
    place.moveCenter(parentWidget()->geometry().center());
    move(place.topLeft());
  }
};

class QtMessage : public View {
 public:
  QtMessage(const String& text, QWidget* parent, const std::function<void()>& dismissed)
      : box_(new Box(parent)) {  // NOLINT(cppcoreguidelines-owning-memory): see ~QtMessage
    box_->setIcon(QMessageBox::Warning);
    box_->setWindowTitle(QApplication::applicationName());
    box_->setTextFormat(Qt::PlainText);
    box_->setText(ToQString(text));
    box_->addButton(QMessageBox::Ok)->setIcon(QIcon());
    box_->setWindowModality(Qt::ApplicationModal);
    QObject::connect(box_, &QMessageBox::finished, box_, [dismissed](int) { dismissed(); });
    box_->show();
    box_->activateWindow();
  }
  ~QtMessage() override {
    delete box_;  // NOLINT(cppcoreguidelines-owning-memory): shared with the parent, which may have gone
                  // before
  }

 private:
  QPointer<QMessageBox> box_;
};

class QtBackEnd : public BackEnd, private LoopWaiter, private Repainter, private QObject {
 public:
  QtBackEnd()
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
  ~QtBackEnd() override {
    SetRepainter(nullptr);
    EventLoop::Current().SetWaiter(nullptr);
  }

  std::unique_ptr<WindowView> Open(Window& window) override {
    return std::make_unique<QtWindow>(window, TopWindow());
  }
  std::unique_ptr<View> ShowMessage(const String& text, std::function<void()> dismissed) override {
    return std::make_unique<QtMessage>(text, TopWindow(), dismissed);
  }
  Ref<Picture> MakePicture(const std::vector<PictureDrawing>& drawings) override {
    return QtPicture::FromDrawings(drawings);
  }
  Ref<Picture> ReadPicture(const Ref<FolderItem>& file) override { return QtPicture::FromFile(file); }
  void SetProgramIcon(const Ref<Picture>& icon) override {
    const auto picture = Cast<QtPicture>(icon);
    QApplication::setWindowIcon(picture ? picture->Icon() : QIcon());
  }

 private:
  void Wait(bool may_block) override {
    QCoreApplication::processEvents(may_block ? QEventLoop::WaitForMoreEvents : QEventLoop::AllEvents);
  }
  void Repaint() override {
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents | QEventLoop::ExcludeSocketNotifiers);
  }
  bool eventFilter(QObject* watched, QEvent* event) override {
    const bool session_ends = watched == &application_ && event->type() == QEvent::Quit;
    if (session_ends) EventLoop::Current().Queue([] { Quit(0); });
    return session_ends || QObject::eventFilter(watched, event);
  }

  // Qt keeps references to both.
  int argument_count_ = 1;
  std::vector<char*> arguments_;
  QApplication application_;
  // Does nothing but wake the wait when the loop has something to collect.
  QSocketNotifier wake_;
};

}  // namespace

std::unique_ptr<BackEnd> MakeDesktopBackEnd() {
  return std::make_unique<QtBackEnd>();
}

}  // namespace vantorel
