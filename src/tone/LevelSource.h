#pragma once

#include <QObject>

#include <set>
#include <string>

// Where the level meters get a measured level from. Linux measures each device's own sound; a
// platform without a source leaves its meters to the clock, scaled by the volume.
class LevelSource : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // Measures these devices (by uid) from now on, and no others.
    virtual void watch(const std::set<std::string>& uids) = 0;
    // The level a watched device's meter shows, on the meter's scale 0…1 and falling smoothly;
    // 0 for any other device.
    virtual double level(const std::string& uid) const = 0;

signals:
    void levelChanged(const std::string& uid);
};
