#include "CoreAudioHAL.h"
#include "CoreAudioStandIn.h"

#include <gtest/gtest.h>

using namespace coreaudio;
using Call = CoreAudioStandIn::Call;
using T = AudioOutputDevice::Transport;

TEST(CoreAudioDeviceList, OffersEveryOutputDeviceWithAUidExceptBrivellosOwn) {
    CoreAudioStandIn audio;
    const auto speakers = audio.plug({.uid = "BuiltInSpeakers", .name = "Speakers"});
    audio.plug({.uid = "BuiltInMic", .name = "Mikrofon", .outputStreams = 0, .inputStreams = 1});
    audio.plug({.uid = std::nullopt, .name = "Ohne UID"});
    const auto failingUID = audio.plug({.uid = "flaky", .name = "Wackelkontakt"});
    audio.fail(Call::getStringProperty, failingUID,
               CoreAudioStandIn::global(kAudioDevicePropertyDeviceUID),
               kAudioHardwareUnspecifiedError);
    const auto failingStreams = audio.plug({.uid = "gone", .name = "Verschwunden"});
    audio.fail(Call::getPropertyDataSize, failingStreams,
               CoreAudioStandIn::output(kAudioDevicePropertyStreams), kAudioHardwareBadObjectError);
    audio.plug({.uid = CoreAudioHAL::kMultiOutputUID,
                .name = "Brivello Multi-Output",
                .transport = kAudioDeviceTransportTypeAggregate});
    const auto studio = audio.plug({.uid = "studio-aggregate",
                                    .name = "Studio",
                                    .transport = kAudioDeviceTransportTypeAggregate,
                                    .inputStreams = 2});
    const auto nameless = audio.plug(
        {.uid = "usb-1", .name = std::nullopt, .transport = kAudioDeviceTransportTypeUSB});
    const auto failingName = audio.plug(
        {.uid = "hdmi-1", .name = "Fernseher", .transport = kAudioDeviceTransportTypeHDMI});
    audio.fail(Call::getStringProperty, failingName,
               CoreAudioStandIn::global(kAudioObjectPropertyName), kAudioHardwareUnspecifiedError);

    // Unreadable names become "Unbekannt" and sort as such; the listing order breaks the tie.
    EXPECT_EQ(CoreAudioHAL::outputDevices(audio),
              (std::vector<AudioOutputDevice>{{speakers, "BuiltInSpeakers", "Speakers", T::builtIn},
                                              {studio, "studio-aggregate", "Studio", T::aggregate},
                                              {nameless, "usb-1", "Unbekannt", T::usb},
                                              {failingName, "hdmi-1", "Unbekannt", T::hdmi}}));
}

TEST(CoreAudioDeviceList, ADeviceUnpluggedBetweenSizingAndReadingLeavesAnEmptySlotThatIsSkipped) {
    CoreAudioStandIn audio;
    const auto a = audio.plug({.uid = "a", .name = "A"});
    const auto b = audio.plug({.uid = "b", .name = "B"});
    const auto c = audio.plug({.uid = "c", .name = "C"});
    audio.beforeNextCall(Call::getPropertyData, [&] { audio.unplug(b); });
    EXPECT_EQ(CoreAudioHAL::allDeviceIDs(audio), (std::vector<AudioDeviceID>{a, c, 0}));

    audio.beforeNextCall(Call::getPropertyData, [&] { audio.unplug(c); });
    const auto devices = CoreAudioHAL::outputDevices(audio);
    ASSERT_EQ(devices.size(), 1u);
    EXPECT_EQ(devices[0].id, a);

    // Back under its old id, at the end of the platform's list.
    audio.plug({.uid = "b", .name = "B"}, b);
    EXPECT_EQ(CoreAudioHAL::allDeviceIDs(audio), (std::vector<AudioDeviceID>{a, b}));

    audio.fail(Call::getPropertyDataSize, kAudioObjectSystemObject, kAudioHardwareUnspecifiedError);
    EXPECT_TRUE(CoreAudioHAL::allDeviceIDs(audio).empty());
    EXPECT_TRUE(CoreAudioHAL::outputDevices(audio).empty());
}

TEST(CoreAudioDeviceList, BothBluetoothKindsAreBluetoothAndWhatIsNotKnownIsOther) {
    CoreAudioStandIn audio;
    auto transportOf = [&](std::optional<std::uint32_t> code) {
        return CoreAudioHAL::transportType(audio, audio.plug({.uid = "x", .transport = code}));
    };
    EXPECT_EQ(transportOf(kAudioDeviceTransportTypeBluetooth), T::bluetooth);
    EXPECT_EQ(transportOf(kAudioDeviceTransportTypeBluetoothLE), T::bluetooth);
    EXPECT_EQ(transportOf(kAudioDeviceTransportTypeThunderbolt), T::thunderbolt);
    EXPECT_EQ(transportOf(kAudioDeviceTransportTypeVirtual), T::virtual_);
    EXPECT_EQ(transportOf(kAudioDeviceTransportTypePCI), T::other);
    EXPECT_EQ(transportOf(kAudioDeviceTransportTypeFireWire), T::other);
    EXPECT_EQ(transportOf(fourCC("cont")), T::other);
    EXPECT_EQ(transportOf(std::nullopt), T::other);

    const auto failing = audio.plug({.uid = "y", .transport = kAudioDeviceTransportTypeUSB});
    audio.fail(Call::getPropertyData, failing, kAudioHardwareBadObjectError);
    EXPECT_EQ(CoreAudioHAL::transportType(audio, failing), T::other);
}
