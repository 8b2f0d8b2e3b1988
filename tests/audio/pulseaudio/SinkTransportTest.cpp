#include "SinkTransport.h"

#include <gtest/gtest.h>

using Transport = AudioOutputDevice::Transport;

// What real servers report: PulseAudio's ALSA and BlueZ sinks, PipeWire's, and RAOP.
TEST(SinkTransport, ReadsTheConnectionFromTheSinksProperties) {
    EXPECT_EQ(sinkTransport({"bluez_sink.00_11", {{"device.api", "bluez"}}, {}}),
              Transport::bluetooth);
    EXPECT_EQ(sinkTransport({"bluez_output.00_11.1", {{"device.bus", "bluetooth"}}, {}}),
              Transport::bluetooth);
    EXPECT_EQ(
        sinkTransport(
            {"alsa_output.usb-Foo-dpx", {{"device.bus", "usb"}, {"device.class", "sound"}}, {}}),
        Transport::usb);
    EXPECT_EQ(sinkTransport({"alsa_output.pci-0000_00_1f.3.analog-stereo",
                             {{"device.bus", "pci"}, {"device.class", "sound"}},
                             {"analog-output-speaker"}}),
              Transport::builtIn);
    EXPECT_EQ(sinkTransport({"alsa_output.pci-0000_01_00.1.hdmi-stereo",
                             {{"device.bus", "pci"}, {"device.class", "sound"}},
                             {"hdmi-output-0"}}),
              Transport::hdmi);
    EXPECT_EQ(sinkTransport(
                  {"alsa_output.platform-dp", {{"device.class", "sound"}}, {"displayport-output"}}),
              Transport::displayPort);
    EXPECT_EQ(sinkTransport({"raop_output.Living.local", {{"device.api", "raop"}}, {}}),
              Transport::airPlay);
    EXPECT_EQ(sinkTransport({"null", {{"device.class", "abstract"}}, {}}), Transport::virtual_);
    EXPECT_EQ(sinkTransport({"eq", {{"device.class", "filter"}}, {}}), Transport::virtual_);
    EXPECT_EQ(sinkTransport({"odd", {{"device.class", "sound"}}, {}}), Transport::other);
}
