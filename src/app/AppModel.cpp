#include "AppModel.h"

#include "HotKeyCenter.h"
#include "Zone.h"

#include <QPointer>

#include <algorithm>

AppModel::AppModel(AudioSystem& audio, QSettings* settings, QObject* parent)
    : QObject(parent), m_controller(audio), m_zones(settings) {
    // The saved hot keys are live before construction ends, and follow every later change.
    syncHotKeys(m_zones.zones());
    connect(&m_zones, &ZoneStore::zonesChanged, this, [this] { syncHotKeys(m_zones.zones()); });
}

void AppModel::syncHotKeys(const std::vector<Zone>& zones) {
    auto& center = HotKeyCenter::shared();
    center.unregisterAll();
    QPointer<AppModel> self(this);
    for (const auto& zone : zones) {
        if (!zone.hotKey)
            continue;
        // The action carries only the id: a press activates the zone as it is then, with its
        // newest devices, and does nothing once the zone is gone.
        center.registerHotKey(*zone.hotKey, [self, id = zone.id] {
            if (!self)
                return;
            const auto& current = self->m_zones.zones();
            auto it = std::find_if(current.begin(), current.end(),
                                   [&id](const Zone& z) { return z.id == id; });
            if (it != current.end())
                self->m_controller.activateZone(*it);
        });
    }
}
