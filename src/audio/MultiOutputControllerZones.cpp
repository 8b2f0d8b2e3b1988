// MultiOutputController: switching to a zone's devices.
#include "MultiOutputController.h"

#include "Zone.h"

#include <algorithm>

void MultiOutputController::activateZone(const Zone& zone) {
    if (m_inOperation)
        return;
    Operation operation(*this);
    if (m_isActive) {
        const bool sameZone = m_activeZoneID && *m_activeZoneID == zone.id;
        deactivateNow();
        if (sameZone)
            return; // the zone's second press switches it off
    }
    std::set<AudioDeviceID> ids;
    for (const auto& uid : zone.deviceUIDs) {
        auto it = std::find_if(m_devices.begin(), m_devices.end(),
                               [&uid](const AudioOutputDevice& d) { return d.uid == uid; });
        if (it != m_devices.end())
            ids.insert(it->id);
    }
    if (ids.empty()) {
        setStatusMessage(QString::fromUtf8("Zone „%1“: keine Geräte verfügbar.")
                             .arg(QString::fromStdString(zone.name)));
        return;
    }
    setSelected(std::move(ids));
    activateNow();
    if (m_isActive)
        setActiveZoneID(zone.id);
}

bool MultiOutputController::zoneIsAvailable(const Zone& zone) const {
    return std::any_of(zone.deviceUIDs.begin(), zone.deviceUIDs.end(), [this](const auto& uid) {
        return std::any_of(m_devices.begin(), m_devices.end(),
                           [&uid](const AudioOutputDevice& d) { return d.uid == uid; });
    });
}
