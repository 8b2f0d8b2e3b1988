#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

// Icons for the places that take a QIcon rather than an image URL: the window icon and the tray.
// Each holds the drawing at the sizes desktops ask for, so none is scaled from another and no
// SVG icon plugin is needed. They need a QGuiApplication.

// Brivello's logo in its own colours.
QIcon appLogoIcon();

// A symbol of the table in `color`. For the macOS menu bar, mark it with setIsMask(true) so the
// system tints it to match the bar.
QIcon symbolIcon(const QString& name, const QColor& color);
