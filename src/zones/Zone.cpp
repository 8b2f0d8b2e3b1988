#include "Zone.h"

namespace {

void combine(std::size_t& hash, std::size_t value) {
    hash ^= value + 0x9e3779b97f4a7c15ULL + (hash << 6) + (hash >> 2);
}

} // namespace

Zone Zone::make(std::string name, std::vector<std::string> deviceUIDs) {
    return Zone{QUuid::createUuid(), std::move(name), std::move(deviceUIDs), std::nullopt};
}

std::size_t std::hash<HotKeyCombo>::operator()(const HotKeyCombo& combo) const noexcept {
    std::size_t hash = std::hash<std::uint32_t>{}(combo.keyCode);
    combine(hash, std::hash<std::uint32_t>{}(combo.modifiers));
    combine(hash, std::hash<std::string>{}(combo.display));
    return hash;
}

std::size_t std::hash<Zone>::operator()(const Zone& zone) const noexcept {
    std::size_t hash = qHash(zone.id);
    combine(hash, std::hash<std::string>{}(zone.name));
    combine(hash, zone.deviceUIDs.size());
    for (const auto& uid : zone.deviceUIDs)
        combine(hash, std::hash<std::string>{}(uid));
    combine(hash, zone.hotKey ? 1 : 0);
    if (zone.hotKey)
        combine(hash, std::hash<HotKeyCombo>{}(*zone.hotKey));
    return hash;
}
