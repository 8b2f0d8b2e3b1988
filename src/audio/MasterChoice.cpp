#include "MasterChoice.h"

#include <algorithm>

namespace {

// How well a device's clock serves as the master: lower is better. Built-in, USB, PCI and
// Thunderbolt devices keep their own steady clock; AirPlay and virtual devices follow a network
// or a program; Bluetooth clocks are the least steady of all.
int masterRank(AudioOutputDevice::Transport transport) {
    using T = AudioOutputDevice::Transport;
    switch (transport) {
    case T::builtIn:
    case T::usb:
    case T::pci:
    case T::thunderbolt:
        return 0;
    case T::airPlay:
    case T::virtual_:
        return 2;
    case T::bluetooth:
        return 3;
    default:
        return 1;
    }
}

} // namespace

AudioOutputDevice chooseMaster(const std::vector<AudioOutputDevice>& devices) {
    return *std::min_element(devices.begin(), devices.end(),
                             [](const AudioOutputDevice& a, const AudioOutputDevice& b) {
                                 return masterRank(a.transport) < masterRank(b.transport);
                             });
}
