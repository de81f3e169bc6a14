#include "platform/ui/qt/QtMessage.h"

#include <QApplication>

#include "platform/ui/qt/QtText.h"

namespace vantorel {

QtMessage::QtMessage(const String& text, QWidget* parent, const std::function<void()>& dismissed)
    : box_(new QMessageBox(parent)) {  // NOLINT(cppcoreguidelines-owning-memory): see ~QtMessage
  box_->setIcon(QMessageBox::Warning);
  box_->setWindowTitle(QApplication::applicationName());
  box_->setTextFormat(Qt::PlainText);
  box_->setText(ToQString(text));
  box_->setStandardButtons(QMessageBox::Ok);
  box_->setWindowModality(Qt::ApplicationModal);
  QObject::connect(box_, &QMessageBox::finished, box_, [dismissed](int) { dismissed(); });
  box_->show();
  box_->activateWindow();
}

QtMessage::~QtMessage() {
  delete box_;  // NOLINT(cppcoreguidelines-owning-memory): shared with the parent, which may have gone before
}

}  // namespace vantorel
