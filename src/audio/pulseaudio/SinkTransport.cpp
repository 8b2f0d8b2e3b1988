#include "SinkTransport.h"

#include <algorithm>
#include <cctype>

namespace {

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string property(const SinkFacts& sink, const char* key) {
    auto it = sink.properties.find(key);
    return it == sink.properties.end() ? std::string() : lower(it->second);
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

} // namespace

AudioOutputDevice::Transport sinkTransport(const SinkFacts& sink) {
    using Transport = AudioOutputDevice::Transport;
    const auto api = property(sink, "device.api");
    const auto bus = property(sink, "device.bus");
    const auto formFactor = property(sink, "device.form_factor");
    const auto deviceClass = property(sink, "device.class");
    const auto profile = property(sink, "device.profile.name");

    // Port and profile names are where ALSA cards say which connector a sink drives.
    std::string connectors = lower(sink.name) + " " + profile;
    for (const auto& port : sink.portNames)
        connectors += " " + lower(port);

    if (api == "bluez" || contains(bus, "bluetooth"))
        return Transport::bluetooth;
    if (contains(api, "raop") || contains(connectors, "raop") || contains(connectors, "airplay"))
        return Transport::airPlay;
    if (contains(connectors, "hdmi") || formFactor == "tv")
        return Transport::hdmi;
    // A USB device is USB whatever its name says ("-dp" is short enough to occur by chance).
    if (bus == "usb")
        return Transport::usb;
    if (contains(connectors, "displayport") || contains(connectors, "-dp"))
        return Transport::displayPort;
    if (formFactor == "internal" || bus == "pci" || bus == "platform")
        return Transport::builtIn;
    // Null, remap, combine and filter sinks either say so or carry no sound-card class at all.
    if (deviceClass == "abstract" || deviceClass == "filter" || deviceClass.empty())
        return Transport::virtual_;
    return Transport::other;
}
