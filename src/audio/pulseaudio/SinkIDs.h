#pragma once

#include "AudioOutputDevice.h"

#include <map>
#include <optional>
#include <string>

// Device ids for sinks. A sink name keeps its id for the life of the process, so a device that
// comes back (plugged in again, or after the server restarted) is the same device to the
// controller, with its delay. A name seen for the first time gets its sink index plus one
// (the controller reads id 0 as "none", and the first sink has index 0), unless another name
// holds that id already; then the next id above all others.
class SinkIDs {
public:
    AudioDeviceID idFor(const std::string& name, std::uint32_t index);
    // The sink name behind an id handed out earlier.
    std::optional<std::string> nameOf(AudioDeviceID id) const;

private:
    std::map<std::string, AudioDeviceID> m_idByName;
    std::map<AudioDeviceID, std::string> m_nameByID;
};
