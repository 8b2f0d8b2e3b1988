#include "SinkTransport.h"

#include <gtest/gtest.h>

// What real servers report: PulseAudio's ALSA and BlueZ sinks, PipeWire's, and RAOP.
TEST(SinkTransport, ReadsTheConnectionFromTheSinksProperties) {
    using T = AudioOutputDevice::Transport;
    const std::pair<SinkFacts, T> cases[] = {
        {{"bluez_sink.00_11", {{"device.api", "bluez"}}, {}}, T::bluetooth},
        {{"bluez_output.00_11.1", {{"device.bus", "bluetooth"}}, {}}, T::bluetooth},
        {{"alsa_output.usb-Foo-dp", {{"device.bus", "usb"}}, {}}, T::usb},
        {{"alsa_output.pci-00_1f.3", {{"device.bus", "pci"}}, {"analog-output-speaker"}},
         T::builtIn},
        {{"alsa_output.pci-01_00.1", {{"device.bus", "pci"}}, {"hdmi-output-0"}}, T::hdmi},
        {{"alsa_output.platform", {{"device.class", "sound"}}, {"displayport-output"}},
         T::displayPort},
        {{"raop_output.Living.local", {{"device.api", "raop"}}, {}}, T::airPlay},
        {{"null", {{"device.class", "abstract"}}, {}}, T::virtual_},
        {{"eq", {{"device.class", "filter"}}, {}}, T::virtual_},
        {{"odd", {{"device.class", "sound"}}, {}}, T::other},
    };
    for (const auto& [sink, transport] : cases)
        EXPECT_EQ(sinkTransport(sink), transport) << sink.name;
}
