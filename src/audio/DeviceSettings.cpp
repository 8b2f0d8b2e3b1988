#include "DeviceSettings.h"

#include <cmath>

namespace {

// Above any platform's rounding of a written volume (PulseAudio: 1/65536), below a visible step.
constexpr float kVolumeTolerance = 0.001f;

} // namespace

bool DeviceSettings::takeVolume(const AudioOutputDevice& device, std::optional<float> read) {
    const auto known = m_volumes.find(device.id);
    if (!read) {
        if (known != m_volumes.end())
            return false;
        const auto byUID = m_volumeByUID.find(device.uid);
        read = byUID != m_volumeByUID.end() ? byUID->second : 1.0f;
    } else if (known != m_volumes.end() && std::abs(known->second - *read) <= kVolumeTolerance) {
        return false;
    }
    setVolume(device, *read);
    return true;
}

bool DeviceSettings::adoptDelay(const AudioOutputDevice& device) {
    auto delay = m_delayByUID.find(device.uid);
    if (delay == m_delayByUID.end()) {
        const bool bluetooth = device.transport == AudioOutputDevice::Transport::bluetooth;
        delay = m_delayByUID.emplace(device.uid, bluetooth ? kBluetoothDelayMs : 0.0).first;
    }
    const auto [entry, added] = m_delaysMs.try_emplace(device.id, delay->second);
    if (!added && entry->second == delay->second)
        return false;
    entry->second = delay->second;
    return true;
}

void DeviceSettings::setVolume(const AudioOutputDevice& device, float volume) {
    m_volumes[device.id] = volume;
    m_volumeByUID[device.uid] = volume;
}

void DeviceSettings::setDelay(const AudioOutputDevice& device, double milliseconds) {
    m_delaysMs[device.id] = milliseconds;
    m_delayByUID[device.uid] = milliseconds;
}
