#pragma once

#include <QColor>
#include <QImage>
#include <QSize>
#include <QString>

// The system symbol `name` drawn through AppKit in `color`, `pixelSize` big, its shape fitted and
// centred. A null image when the system has no symbol of that name.
QImage renderSystemSymbol(const QString& name, const QColor& color, QSize pixelSize);
