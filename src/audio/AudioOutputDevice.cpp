#include "AudioOutputDevice.h"

#include <QCollator>
#include <QString>

#include <algorithm>

const char* label(AudioOutputDevice::Transport transport) {
    using T = AudioOutputDevice::Transport;
    switch (transport) {
    case T::bluetooth:
        return "Bluetooth";
    case T::usb:
        return "USB";
    case T::builtIn:
        return "Eingebaut";
    case T::hdmi:
        return "HDMI";
    case T::displayPort:
        return "DisplayPort";
    case T::airPlay:
        return "AirPlay";
    case T::thunderbolt:
        return "Thunderbolt";
    case T::aggregate:
        return "Aggregat";
    case T::virtual_:
        return "Virtuell";
    case T::pci:
    case T::other:
        return "Kabel/Sonstige";
    }
    return "Kabel/Sonstige";
}

void sortByName(std::vector<AudioOutputDevice>& devices) {
    QCollator collator; // the user's locale
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(devices.begin(), devices.end(),
                     [&collator](const AudioOutputDevice& a, const AudioOutputDevice& b) {
                         return collator.compare(QString::fromStdString(a.name),
                                                 QString::fromStdString(b.name)) < 0;
                     });
}

std::size_t
std::hash<AudioOutputDevice>::operator()(const AudioOutputDevice& device) const noexcept {
    std::size_t hash = std::hash<std::uint32_t>{}(device.id);
    auto combine = [&hash](std::size_t value) {
        hash ^= value + 0x9e3779b97f4a7c15ULL + (hash << 6) + (hash >> 2);
    };
    combine(std::hash<std::string>{}(device.uid));
    combine(std::hash<std::string>{}(device.name));
    combine(static_cast<std::size_t>(device.transport));
    return hash;
}
