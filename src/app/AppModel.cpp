#include "AppModel.h"

#include "HotKeyCenter.h"
#include "Zone.h"

#include <QPointer>

#include <algorithm>
#include <utility>

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
    std::set<std::pair<std::uint32_t, std::uint32_t>> live;
    std::set<QUuid> taken;
    for (const auto& zone : zones) {
        if (!zone.hotKey)
            continue;
        // The action carries only the id: a press activates the zone as it is then, with its
        // newest devices, and does nothing once the zone is gone.
        const auto status = center.registerHotKey(*zone.hotKey, [self, id = zone.id] {
            if (!self)
                return;
            const auto& current = self->m_zones.zones();
            auto it = std::find_if(current.begin(), current.end(),
                                   [&id](const Zone& z) { return z.id == id; });
            if (it != current.end())
                self->m_controller.activateZone(*it);
        });
        // A second zone with a live combination is refused too, by Brivello's own first one.
        const std::pair combination{zone.hotKey->keyCode, zone.hotKey->modifiers};
        if (status == 0)
            live.insert(combination);
        else if (status == HotKeyBackend::eventHotKeyExistsErr && !live.contains(combination))
            taken.insert(zone.id);
    }
    if (taken != m_takenHotKeys) {
        m_takenHotKeys = std::move(taken);
        emit takenHotKeysChanged();
    }
}
