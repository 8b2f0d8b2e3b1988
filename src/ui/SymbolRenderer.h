#pragma once

#include <QColor>
#include <QImage>
#include <QSize>
#include <QString>

// The symbol `name` drawn in `color` on transparent, exactly `pixelSize` big (ARGB32
// premultiplied), the shape centred and square. On macOS the system's own symbol, elsewhere the
// symbol table's icon; a name the table does not know draws a question mark in a circle. Only an
// empty size gives a null image.
QImage renderSymbol(const QString& name, const QColor& color, QSize pixelSize);

// Brivello's logo in its own colours, `pixelSize` big, centred and square.
QImage renderAppLogo(QSize pixelSize);

// The resource path of the logo.
inline constexpr const char* appLogoResource = ":/icons/AppLogo.svg";
