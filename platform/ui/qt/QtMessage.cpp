#include "platform/ui/qt/QtMessage.h"

#include <QApplication>
#include <QPushButton>

#include "platform/ui/qt/QtText.h"

namespace vantorel {

namespace {

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

}  // namespace

QtMessage::QtMessage(const String& text, QWidget* parent, const std::function<void()>& dismissed)
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

QtMessage::~QtMessage() {
  delete box_;  // NOLINT(cppcoreguidelines-owning-memory): shared with the parent, which may have gone before
}

}  // namespace vantorel
