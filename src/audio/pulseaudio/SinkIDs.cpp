#include "SinkIDs.h"

AudioDeviceID SinkIDs::idFor(const std::string& name, std::uint32_t index) {
    if (auto known = m_idByName.find(name); known != m_idByName.end())
        return known->second;
    AudioDeviceID id = index + 1;
    if (id == 0 || m_nameByID.contains(id))
        id = m_nameByID.empty() ? 1 : m_nameByID.rbegin()->first + 1;
    m_idByName.emplace(name, id);
    m_nameByID.emplace(id, name);
    return id;
}

std::optional<std::string> SinkIDs::nameOf(AudioDeviceID id) const {
    if (auto known = m_nameByID.find(id); known != m_nameByID.end())
        return known->second;
    return std::nullopt;
}
