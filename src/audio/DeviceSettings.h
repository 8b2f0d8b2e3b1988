#pragma once

#include "AudioOutputDevice.h"

#include <map>
#include <optional>
#include <string>

// The volume and delay of every device the controller has seen: by id, as the interface shows
// them, and once more by uid, so a device that returns under another id finds its own. Entries
// are never removed.
class DeviceSettings {
public:
    const std::map<AudioDeviceID, float>& volumes() const { return m_volumes; }
    const std::map<AudioDeviceID, double>& delaysMs() const { return m_delaysMs; }

    // Takes the volume the platform reports for the device, absent when it cannot be read: then a
    // device with a volume keeps it, and one without gets the one its uid had, else 1. True when
    // the volume moved by more than the platforms round a written volume by.
    bool takeVolume(const AudioOutputDevice& device, std::optional<float> read);
    // Gives the device's id the delay its uid has, or the usual delay for its transport when the
    // uid is new. True when the delay under the id changed.
    bool adoptDelay(const AudioOutputDevice& device);

    void setVolume(const AudioOutputDevice& device, float volume);
    void setDelay(const AudioOutputDevice& device, double milliseconds);

    // Bluetooth devices lag the most; they start with this delay.
    static constexpr double kBluetoothDelayMs = 180.0;

private:
    std::map<AudioDeviceID, float> m_volumes;
    std::map<AudioDeviceID, double> m_delaysMs;
    std::map<std::string, float> m_volumeByUID;
    std::map<std::string, double> m_delayByUID;
};
