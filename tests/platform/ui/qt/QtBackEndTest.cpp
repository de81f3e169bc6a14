// The Qt back end without a screen (QT_QPA_PLATFORM=offscreen), looked at in the toolkit.
#include <QAccessible>
#include <QApplication>
#include <QDialog>
#include <QFontMetricsF>
#include <QImage>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <map>

#include "platform/run/EventLoop.h"
#include "platform/run/Runtime.h"
#include "platform/ui/EditField.h"
#include "platform/ui/ProgressBar.h"
#include "platform/ui/PushButton.h"
#include "platform/ui/StaticText.h"
#include "platform/ui/Window.h"
#include "tests/support/ScratchFolder.h"

namespace vantorel::testing {
namespace {

// A splash's foot with two buttons and a field above it.
class Panel : public Window {
 public:
  Panel() : Window("Panel") {
    Width = 475;
    Height = 337;
    HasBackColor = true;
    BackColor = 0xc5c4c4;
    AddButton({200, 200, 145, 20}, "Update installieren", 1)->Default = true;
    AddButton({20, 200, 97, 20}, "Abbrechen", 2)->Cancel = true;
    bar->AccessibleName = "Fortschritt";
    status->Style.TextSize = 9;
    condition->Multiline = true;
    condition->SetText(
        "Um Vantorel verwenden zu können müssen sie den oben genannten Informationen zustimmen und das "
        "Update durchführen!");
  }

  std::string pressed;
  const Ref<EditField> field = _AddControl("field", New<EditField>(Bounds{20, 20, 400, 100}));
  const Ref<ProgressBar> bar = _AddControl("bar", New<ProgressBar>(Bounds{172, 320, 289, 11}));
  const Ref<StaticText> status = _AddControl("status", New<StaticText>(Bounds{27, 317, 138, 20}));
  const Ref<StaticText> condition = _AddControl("condition", New<StaticText>(Bounds{20, 140, 600, 33}));

 private:
  Ref<PushButton> AddButton(const Bounds& bounds, const char* caption, std::int32_t tab_index) {
    const auto button = _AddControl(caption, New<PushButton>(bounds));
    button->TabIndex = tab_index;
    button->Caption = caption;
    button->Action = [this, caption] { pressed += caption; };
    return button;
  }
};

void Turn() {
  EventLoop::Current().RunPending(0);
}

QDialog& Shown() {
  for (QWidget* const widget : QApplication::topLevelWidgets()) {
    if (auto* const dialog = qobject_cast<QDialog*>(widget)) return *dialog;
  }
  throw std::runtime_error("no window");
}
template <typename T>
T& Part() {
  return *Shown().findChild<T*>();
}
void Send(QWidget* target, Qt::Key key) {
  for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
    QKeyEvent event(type, key, Qt::NoModifier, key == Qt::Key_Space ? QStringLiteral(" ") : QString());
    QApplication::sendEvent(target, &event);
  }
}

class QtBackEndTest : public ::testing::Test {
 protected:
  QtBackEndTest() { Turn(); }
  ~QtBackEndTest() override { CloseAllWindows(); }

  const Ref<Panel> panel_ = ImplicitWindow<Panel>("Panel");
};

TEST_F(QtBackEndTest, KeysReachTheButtons) {
  const std::tuple<const char*, std::vector<Qt::Key>, const char*> cases[] = {
      {"Return in the field presses the default", {Qt::Key_Return}, "Update installieren"},
      {"Escape in the field cancels", {Qt::Key_Escape}, "Abbrechen"},
      {"the next Tab reaches the other button", {Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Space}, "Abbrechen"},
      {"the button with the focus takes Return", {Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Return}, "Abbrechen"},
  };
  for (const auto& [name, keys, pressed] : cases) {
    SCOPED_TRACE(name);
    panel_->pressed.clear();
    Part<QPlainTextEdit>().setFocus();
    for (const Qt::Key key : keys) Send(Shown().focusWidget(), key);
    EXPECT_EQ(panel_->pressed, "") << "an action ran inside a callback of the toolkit";
    Turn();
    EXPECT_EQ(panel_->pressed, pressed);
  }
}

TEST_F(QtBackEndTest, TheEndOfTheSessionEndsTheProgram) {
  QEvent end(QEvent::Quit);
  QApplication::sendEvent(qApp, &end);
  EXPECT_THROW(panel_->ShowModal(), EndException);
}

// Every text of the status line whole, whatever the desktop's font; and the ordinary ones clear of the bar.
TEST_F(QtBackEndTest, TextsAreWhole) {
  const QFont desktop = QApplication::font();
  for (const char* const family : {"DejaVu Sans", "Nimbus Sans", "C059"}) {
    for (const int points : {9, 10, 11, 13}) {
      QApplication::setFont(QFont(QLatin1String(family), points));
      CloseAllWindows();
      const Ref<Panel> panel = ImplicitWindow<Panel>("Panel");
      Turn();
      SCOPED_TRACE(family + std::to_string(points));
      const QLabel& wrapped = *Shown().findChildren<QLabel*>().back();
      const QRect ground(0, 0, wrapped.width(), 9999);
      const QFontMetricsF wrapped_text(wrapped.font());
      EXPECT_LE(wrapped_text.boundingRect(ground, Qt::TextWordWrap, wrapped.text()).height(), 33);
      for (const QPushButton* const button : Shown().findChildren<QPushButton*>()) {
        const QFontMetricsF caption(button->font());
        EXPECT_LE(caption.horizontalAdvance(button->text()), button->width() - 8);
        EXPECT_LE(caption.height(), button->height() - 2);
      }
      const QLabel& label = *Shown().findChildren<QLabel*>().front();
      std::map<std::string, double> sizes;
      for (const char* const text :
           {"Herunterladen... (7%)", "Herunterladen... (100%)", "Update erfolgreich!",
            "Update nicht erfolgreich! Versuche Vantorel zu starten..."}) {
        SCOPED_TRACE(text);
        panel->status->SetText(text);
        sizes[text] = label.font().pointSizeF();
        const QFontMetricsF metrics(label.font());
        EXPECT_LE(metrics.horizontalAdvance(label.text()), label.width());
        EXPECT_LE(metrics.height(), label.height());
        const bool is_long = label.text().size() > 40;
        EXPECT_EQ(label.width() > 138, is_long) << label.width();
        EXPECT_EQ(label.autoFillBackground(), is_long) << "text over the bar needs a ground";
      }
      EXPECT_EQ(sizes["Herunterladen... (7%)"], sizes["Herunterladen... (100%)"])
          << "it jumps while counting";
    }
  }
  QApplication::setFont(desktop);
}

// A notice for a larger screen than there is.
struct Large : Window {
  Large() : Window("Large") {
    Width = 900;
    Height = 1000;
    _AddControl("notes", New<EditField>(Bounds{20, 40, 860, 860}));
    _AddControl("agree", New<PushButton>(Bounds{735, 960, 145, 20}));
  }
};

TEST_F(QtBackEndTest, WhereTheScreenIsTooSmallTheTextGivesWay) {
  CloseAllWindows();
  ImplicitWindow<Large>("Large");
  Turn();
  EXPECT_TRUE(Shown().screen()->availableGeometry().contains(Shown().geometry()));
  const int narrower = 900 - Shown().width(), lower = 1000 - Shown().height();
  EXPECT_EQ(Part<QPlainTextEdit>().geometry(), QRect(20, 40, 860 - narrower, 860 - lower));
  EXPECT_EQ(Part<QPushButton>().geometry(), QRect(735 - narrower, 960 - lower, 145, 20));
}

TEST_F(QtBackEndTest, NotesAreShownAsTheyAre) {
  const std::string broken = std::string(4000, 'x') + '\n' + std::string(1000, 'x');
  const std::tuple<const char*, std::string, std::string> cases[] = {
      {"markup is text", "<h1>Not Found</h1>", "<h1>Not Found</h1>"},
      {"line ends of any kind", "a\r\nb\rc", "a\nb\nc"},
      {"bytes that are no UTF-8", "a\xff", "a\uFFFD"},
      {"a line without end is broken", std::string(5000, 'x'), broken},
  };
  for (const auto& [name, text, shown] : cases) {
    panel_->field->SetText(String::Bytes(text));
    EXPECT_EQ(Part<QPlainTextEdit>().toPlainText().toStdString(), shown) << name;
  }
  panel_->field->SetText(String::Bytes(std::string(50'000'000, '\n')));
  EXPECT_LT(Part<QPlainTextEdit>().blockCount(), 300'000);
  EXPECT_TRUE(Part<QPlainTextEdit>().toPlainText().endsWith(u'…'));
}

TEST_F(QtBackEndTest, BackdropLiesUnderTheControlsOnTheWindowsColour) {
  const ScratchFolder folder;
  QImage image(100, 100, QImage::Format_RGB32);
  image.fill(QColor(0, 200, 0));
  image.save(QString::fromStdString(folder.Path("picture")), "PNG");
  panel_->SetBackdrop(OpenAsPicture(folder.Item("picture")));
  const QImage window = Shown().grab().toImage();
  EXPECT_EQ(window.pixel(2, 2) & 0xffffff, 0x00c800U);
  EXPECT_EQ(window.pixel(470, 300) & 0xffffff, 0xc5c4c4U);
}

TEST_F(QtBackEndTest, WhatIsNoPictureOrTooLargeIsNil) {
  const ScratchFolder folder;
  folder.Run("mkfifo pipe; printf '<html>' > text; printf 'P5 60000 60000 255\\n' > huge");
  folder.Write("cut", "\x89PNG\r\n\x1a\n\0\0\0\rIHDR");
  for (const char* const name : {"pipe", "text", "cut", "huge", "absent"}) {
    EXPECT_TRUE(OpenAsPicture(folder.Item(name)) == nil) << name;
  }
}

TEST_F(QtBackEndTest, RepaintingRunsNoHandler) {
  bool handled = false;
  panel_->status->SetText("Entpacken...");
  EventLoop::Current().Queue([&] { handled = true; });
  QApplication::postEvent(Shown().findChildren<QPushButton*>().front(),
                          new QKeyEvent(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier));
  New<Application>()->SleepCurrentThread(100);
  EXPECT_FALSE(handled);
  EXPECT_EQ(panel_->pressed, "");
  Turn();
  EXPECT_TRUE(handled);
}

TEST_F(QtBackEndTest, ScreenReadersHaveNames) {
  panel_->status->SetText("Entpacken...");
  const auto name = [](QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name);
  };
  EXPECT_EQ(name(Part<QProgressBar>()), QStringLiteral("Fortschritt"));
  EXPECT_EQ(name(*Shown().findChildren<QLabel*>().front()), QStringLiteral("Entpacken..."));
}

}  // namespace
}  // namespace vantorel::testing

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  setenv("QT_QPA_PLATFORM", "offscreen", 0);  // another one can be asked for
  vantorel::BackEnd::Install(vantorel::MakeDesktopBackEnd());
  const int result = RUN_ALL_TESTS();
  vantorel::BackEnd::Install(nullptr);
  return result;
}
