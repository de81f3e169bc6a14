#include "platform/ui/qt/QtText.h"

#include <QApplication>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QRectF>
#include <QRegularExpression>
#include <cmath>
#include <limits>

#include "platform/text/TextFunctions.h"

namespace vantorel {

namespace {

QString WithRoomToCount(const QString& text) {
  static const QRegularExpression short_number(QStringLiteral("(?<!\\d)\\d{1,2}(?!\\d)"));
  return QString(text).replace(short_number, QStringLiteral("000"));
}

bool Fits(const QFont& font, const QString& text, QSize space, bool wrapped) {
  const int flags = wrapped ? Qt::TextWordWrap : Qt::TextSingleLine;
  const double width = wrapped ? space.width() : std::numeric_limits<std::int16_t>::max();
  const QRectF needed = QFontMetricsF(font).boundingRect(QRectF(0, 0, width, space.height()), flags, text);
  return needed.width() <= space.width() && needed.height() <= space.height();
}

}  // namespace

QString ToQString(const String& text) {
  return QString::fromUtf8(text.view().data(), static_cast<qsizetype>(text.size()));
}

QFont ToQFont(const TextStyle& style) {
  QFont font = QApplication::font();
  if (!SameText(style.TextFont, "System")) font.setFamily(ToQString(style.TextFont));
  if (style.TextSize > 0) font.setPointSize(style.TextSize);
  font.setBold(style.Bold);
  font.setItalic(style.Italic);
  font.setUnderline(style.Underline);
  return font;
}

QFont FittedFont(QFont font, const QString& text, QSize space, bool wrapped, double least_pixels) {
  const QString measured = WithRoomToCount(text);
  const QFontInfo info(font);
  // Qt sizes a font by points in fractions, by pixels in whole numbers only.
  const double points_per_pixel = info.pointSizeF() / info.pixelSize();
  double pixels = info.pixelSize();
  while (pixels > least_pixels && !Fits(font, measured, space, wrapped)) {
    pixels -= 0.5;
    font.setPointSizeF(pixels * points_per_pixel);
  }
  return font;
}

int LineWidth(const QFont& font, const QString& text) {
  return static_cast<int>(std::ceil(QFontMetricsF(font).horizontalAdvance(text)));
}

}  // namespace vantorel
