#pragma once

#include "AudioOutputDevice.h"

#include <map>
#include <string>
#include <vector>

// What the server tells about a sink that says how it is connected.
struct SinkFacts {
    std::string name;
    std::map<std::string, std::string> properties;
    std::vector<std::string> portNames;
};

// The transport a user would name for the sink: Bluetooth, USB, built-in, HDMI, DisplayPort,
// AirPlay, a virtual or filter sink, or other.
AudioOutputDevice::Transport sinkTransport(const SinkFacts& sink);
