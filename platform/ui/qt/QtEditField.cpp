#include "platform/ui/qt/QtEditField.h"

#include <QTextDocument>

#include "platform/ui/qt/QtControl.h"

namespace vantorel {

namespace {

// What a field shows of a text. Nobody reads on for longer than this, and the toolkit's memory for a text of
// empty lines is a hundred times the text's own.
constexpr qsizetype kMostCharacters = qsizetype{256} * 1024;
// The toolkit's time for laying out a line grows with the square of its length.
constexpr qsizetype kLongestLine = 4000;
constexpr std::size_t kMostBytesPerCharacter = 4;
constexpr double kMargin = 8;

// The text with its end cut off and its overlong lines broken, where it is out of all proportion.
QString Showable(const String& text) {
  const QString whole = ToQString(text.Slice(0, kMostCharacters * kMostBytesPerCharacter));
  QString result;
  qsizetype line = 0;
  for (const QChar each : whole.left(kMostCharacters)) {
    line = each == QLatin1Char('\n') || each == QLatin1Char('\r') ? 0 : line + 1;
    if (line > kLongestLine && !each.isLowSurrogate()) {
      result += QLatin1Char('\n');
      line = 1;
    }
    result += each;
  }
  if (whole.size() > kMostCharacters) result += QStringLiteral("\n…");
  return result;
}

Qt::ScrollBarPolicy PolicyOf(bool scrollbar) {
  return scrollbar ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff;
}

}  // namespace

QtEditField::QtEditField(EditField& control, QWidget& window) : control_(control), field_(&window) {
  field_.setFont(ToQFont(control.Style));
  field_.setFrameShape(control.Border ? QFrame::StyledPanel : QFrame::NoFrame);
  field_.setVerticalScrollBarPolicy(PolicyOf(control.ScrollbarVertical));
  field_.setHorizontalScrollBarPolicy(PolicyOf(control.ScrollbarHorizontal));
  field_.setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  field_.document()->setDocumentMargin(kMargin);
  field_.setTabChangesFocus(!control.AcceptTabs);
  field_.setReadOnly(control.ReadOnly);
  // The keyboard can move through the text and select, and the cursor shows where it is.
  field_.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  // In the program's language; the toolkit's own menu speaks English where its translations are not
  // installed.
  menu_.addAction(QStringLiteral("Kopieren"), &field_, &QPlainTextEdit::copy);
  menu_.addAction(QStringLiteral("Alles auswählen"), &field_, &QPlainTextEdit::selectAll);
  field_.setContextMenuPolicy(Qt::CustomContextMenu);
  QObject::connect(&field_, &QWidget::customContextMenuRequested, &menu_,
                   [this](QPoint place) { menu_.popup(field_.mapToGlobal(place)); });
  QPalette palette = field_.palette();
  palette.setColor(QPalette::Text, ToQColor(control.TextColor));
  palette.setColor(QPalette::Base, ToQColor(control.BackColor));
  field_.setPalette(palette);
  PlaceWidget(field_, control);
  QtEditField::Update();
}

void QtEditField::Update() {
  if (control_.Text().view() != shown_.view()) {
    shown_ = control_.Text();
    field_.setPlainText(Showable(shown_));
  }
  field_.setVisible(control_.Visible());
}

}  // namespace vantorel
