// The least that a window of the toolkit costs: one of the splash's size, filled with one colour.
// splash_start measures the launcher beside it.

#include <QApplication>
#include <QPainter>
#include <QPalette>
#include <QWidget>

namespace {

class Bare : public QWidget {
  void paintEvent(QPaintEvent* /*event*/) override { QPainter(this).fillRect(rect(), Qt::white); }
};

}  // namespace

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  Bare window;
  window.setWindowFlags(Qt::FramelessWindowHint);
  window.setFixedSize(475, 337);
  window.move(QPoint(274, 215));
  window.show();
  return QApplication::exec();
}
