// From the models' texts and styles to the toolkit's.
#pragma once

#include <QFont>
#include <QSize>
#include <QString>

#include "platform/text/String.h"
#include "platform/ui/RectControl.h"

namespace vantorel {

// The bytes read as UTF-8; what is none becomes replacement characters.
QString ToQString(const String& text);
// The font of a style, with TextSize in points.
QFont ToQFont(const TextStyle& style);

// `font`, made smaller in half-pixel steps until `text` fits into `space`, wrapped at its width if `wrapped`;
// but not below `least_pixels`. Numbers are measured with three digits, so that a counter in the text does
// not change the size as it grows.
QFont FittedFont(QFont font, const QString& text, QSize space, bool wrapped, double least_pixels);
// The width of the text in one line.
int LineWidth(const QFont& font, const QString& text);

}  // namespace vantorel
