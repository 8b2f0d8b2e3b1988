#include "ZoneStore.h"

#include "ZoneCoding.h"

#include <QByteArray>
#include <QSettings>

#include <algorithm>

ZoneStore::ZoneStore(QSettings* settings, QObject* parent)
    : QObject(parent), m_ownSettings(settings ? nullptr : std::make_unique<QSettings>()),
      m_settings(settings ? settings : m_ownSettings.get()) {
    load();
}

ZoneStore::~ZoneStore() = default;

void ZoneStore::load() {
    const QVariant stored = m_settings->value(QLatin1String(key));
    if (!stored.isValid())
        return;
    const QByteArray bytes = stored.toByteArray();
    // An unreadable value is left in place; only the next change overwrites it.
    if (auto zones = decodeZones(std::string_view(bytes.constData(), bytes.size())))
        m_zones = std::move(*zones);
}

void ZoneStore::persist() {
    const std::string json = encodeZones(m_zones);
    m_settings->setValue(QLatin1String(key),
                         QByteArray(json.data(), static_cast<qsizetype>(json.size())));
}

Zone* ZoneStore::find(const Zone& zone) {
    auto it = std::find_if(m_zones.begin(), m_zones.end(),
                           [&zone](const Zone& z) { return z.id == zone.id; });
    return it == m_zones.end() ? nullptr : &*it;
}

void ZoneStore::changed() {
    persist();
    emit zonesChanged();
}

void ZoneStore::add(std::string name, std::vector<std::string> deviceUIDs) {
    m_zones.push_back(Zone::make(std::move(name), std::move(deviceUIDs)));
    changed();
}

void ZoneStore::remove(const Zone& zone) {
    std::erase_if(m_zones, [&zone](const Zone& z) { return z.id == zone.id; });
    changed();
}

void ZoneStore::rename(const Zone& zone, std::string name) {
    if (auto* stored = find(zone)) {
        stored->name = std::move(name);
        changed();
    }
}

void ZoneStore::setDevices(std::vector<std::string> deviceUIDs, const Zone& zone) {
    if (auto* stored = find(zone)) {
        stored->deviceUIDs = std::move(deviceUIDs);
        changed();
    }
}

void ZoneStore::setHotKey(std::optional<HotKeyCombo> combo, const Zone& zone) {
    if (auto* stored = find(zone)) {
        stored->hotKey = std::move(combo);
        changed();
    }
}
