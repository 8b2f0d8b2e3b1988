#include "Zone.h"

namespace {

void combine(std::size_t& seed, std::size_t value) {
    seed ^= value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
}

} // namespace

Zone Zone::make(std::string name, std::vector<std::string> deviceUIDs) {
    return Zone{QUuid::createUuid(), std::move(name), std::move(deviceUIDs), std::nullopt};
}

std::size_t std::hash<HotKeyCombo>::operator()(const HotKeyCombo& combo) const noexcept {
    std::size_t seed = std::hash<std::uint32_t>{}(combo.keyCode);
    combine(seed, std::hash<std::uint32_t>{}(combo.modifiers));
    combine(seed, std::hash<std::string>{}(combo.display));
    return seed;
}

std::size_t std::hash<Zone>::operator()(const Zone& zone) const noexcept {
    std::size_t seed = qHash(zone.id);
    combine(seed, std::hash<std::string>{}(zone.name));
    combine(seed, zone.deviceUIDs.size());
    for (const auto& uid : zone.deviceUIDs)
        combine(seed, std::hash<std::string>{}(uid));
    combine(seed, zone.hotKey ? 1 : 0);
    if (zone.hotKey)
        combine(seed, std::hash<HotKeyCombo>{}(*zone.hotKey));
    return seed;
}
