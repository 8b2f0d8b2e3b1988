#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

// The one place that decides between the platform's glass look and the bordered look for the
// window's buttons, bottom bar and status pill.
class GlassStyle : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool systemOffersGlass READ systemOffersGlass CONSTANT)
    Q_PROPERTY(bool drawsGlass READ drawsGlass CONSTANT)
    // How strongly the pill shows its tint: the bordered look dims it to 0.18.
    Q_PROPERTY(double pillTintStrength READ pillTintStrength CONSTANT)
public:
    explicit GlassStyle(QObject* parent = nullptr) : QObject(parent) {}

    // macOS 26 and later draw buttons and pills in glass.
    static bool systemOffersGlass();
    // Qt 6.4 has no glass material to draw with, so every system gets the bordered look for now;
    // this is where a glass look is switched on once there is one, for systemOffersGlass().
    static bool drawsGlass() { return false; }
    static double pillTintStrength() { return drawsGlass() ? 1.0 : 0.18; }
};
