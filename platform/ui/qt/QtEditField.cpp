#include "platform/ui/EditField.h"

#include <QMenu>
#include <QPlainTextEdit>

#include "platform/ui/qt/QtControls.h"

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

class EditFieldView : public QtControl<QPlainTextEdit, EditField> {
 public:
  EditFieldView(EditField& control, QWidget& window, const QRect& place) : QtControl(control, window, place) {
    setFont(ToQFont(control.Style));
    setFrameShape(control.Border ? QFrame::StyledPanel : QFrame::NoFrame);
    setVerticalScrollBarPolicy(PolicyOf(control.ScrollbarVertical));
    setHorizontalScrollBarPolicy(PolicyOf(control.ScrollbarHorizontal));
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    document()->setDocumentMargin(kMargin);
    setTabChangesFocus(true);
    setReadOnly(true);
    // The keyboard can move through the text and select, and the cursor shows where it is.
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    // In the program's language; the toolkit's own menu speaks English where its translations are not
    // installed.
    menu_.addAction(QStringLiteral("Kopieren"), this, &QPlainTextEdit::copy);
    menu_.addAction(QStringLiteral("Alles auswählen"), this, &QPlainTextEdit::selectAll);
    setContextMenuPolicy(Qt::CustomContextMenu);
    QObject::connect(this, &QWidget::customContextMenuRequested, &menu_,
                     [this](QPoint position) { menu_.popup(mapToGlobal(position)); });
    QPalette colors = palette();
    colors.setColor(QPalette::Text, QColor::fromRgb(control.TextColor));
    colors.setColor(QPalette::Base, QColor::fromRgb(control.BackColor));
    setPalette(colors);
    EditFieldView::Update();
  }

  void Update() override {
    if (control_.Text().view() != shown_.view()) {
      shown_ = control_.Text();
      setPlainText(Showable(shown_));
    }
    QtControl::Update();
  }

 private:
  QMenu menu_;
  String shown_;
};

}  // namespace

std::unique_ptr<ControlView> MakeQtView(EditField& control, QWidget& window, const QRect& place) {
  return std::make_unique<EditFieldView>(control, window, place);
}

}  // namespace vantorel
