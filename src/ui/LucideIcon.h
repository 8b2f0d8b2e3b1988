#pragma once

#include <QImage>
#include <QSize>
#include <QString>

#include <string_view>

// Draws a Lucide SVG in black on transparent, `pixelSize` big, centred and square. `parts` says
// per top-level element how it is drawn (see SymbolEntry). A file that is missing or cannot be
// read gives a null image.
QImage renderLucideIcon(const QString& resourcePath, std::string_view parts, QSize pixelSize);
