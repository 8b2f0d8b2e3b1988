#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// The platform's numeric id of an audio device: valid while the device is present.
using AudioDeviceID = std::uint32_t;

// One output device as the rest of Brivello sees it: a plain value without any platform handle.
struct AudioOutputDevice {
    enum class Transport {
        bluetooth,
        usb,
        builtIn,
        hdmi,
        displayPort,
        airPlay,
        thunderbolt,
        aggregate,
        virtual_, // trailing underscore: "virtual" is a C++ keyword
        pci,      // an internal card: labelled like any other wired device
        other,
    };

    AudioDeviceID id = 0;
    std::string uid;  // persistent across reconnects and restarts
    std::string name; // display name, "Unbekannt" when the platform has none
    Transport transport = Transport::other;

    bool operator==(const AudioOutputDevice&) const = default;
};

// The German caption shown under a device's name.
const char* label(AudioOutputDevice::Transport transport);

// Sorts by name, locale-aware and case-insensitive; names that compare equal keep the
// platform's order.
void sortByName(std::vector<AudioOutputDevice>& devices);

template <> struct std::hash<AudioOutputDevice> {
    std::size_t operator()(const AudioOutputDevice& device) const noexcept;
};
