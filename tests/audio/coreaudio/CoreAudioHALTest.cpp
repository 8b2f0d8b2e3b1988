#include "CoreAudioHAL.h"
#include "CoreAudioStandIn.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace coreaudio;
using Call = CoreAudioStandIn::Call;
using T = AudioOutputDevice::Transport;

namespace {

const PropertyAddress kUID = CoreAudioStandIn::global(kAudioDevicePropertyDeviceUID);
const PropertyAddress kNominalRate =
    CoreAudioStandIn::global(kAudioDevicePropertyNominalSampleRate);

const PropertyAddress kVirtualMain =
    CoreAudioStandIn::output(kAudioHardwareServiceDeviceProperty_VirtualMainVolume);
const PropertyAddress kExtraLatency = CoreAudioStandIn::global(kAudioSubDevicePropertyExtraLatency);

PropertyAddress volumeOf(std::uint32_t element) {
    return CoreAudioStandIn::output(kAudioDevicePropertyVolumeScalar, element);
}

// Core Audio's main queue: what it was asked to do is done and announced.
void settle() {
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

} // namespace

TEST(CoreAudioHAL, ListsOutputDevicesWithAReadableUidButNoAggregate) {
    CoreAudioStandIn audio;
    const auto le =
        audio.plug({.uid = "le", .name = "A", .transport = kAudioDeviceTransportTypeBluetoothLE});
    audio.plug({.uid = "mic", .name = "B", .outputStreams = 0, .inputStreams = 1});
    audio.plug({.uid = std::nullopt, .name = "C"});
    audio.fail(Call::getString, kAudioHardwareUnspecifiedError,
               audio.plug({.uid = "flaky", .name = "D"}), kUID);
    audio.plug({.uid = CoreAudioHAL::kMultiOutputUID,
                .name = "E",
                .transport = kAudioDeviceTransportTypeAggregate});
    audio.plug({.uid = "studio", .name = "E2", .transport = kAudioDeviceTransportTypeAggregate});
    const auto card =
        audio.plug({.uid = "pci", .name = "E3", .transport = kAudioDeviceTransportTypePCI});
    const auto classic =
        audio.plug({.uid = "bt", .name = "F", .transport = kAudioDeviceTransportTypeBluetooth});
    const auto unknown = audio.plug({.uid = "odd", .name = "G", .transport = fourCC("cont")});
    const auto nameless = audio.plug({.uid = "usb", .transport = kAudioDeviceTransportTypeUSB});
    const auto unreadable = audio.plug({.uid = "tv", .name = "H", .transport = std::nullopt});
    audio.fail(Call::getString, kAudioHardwareUnspecifiedError, unreadable,
               CoreAudioStandIn::global(kAudioObjectPropertyName));
    const auto late = audio.plug({.uid = "late", .name = "Z"});

    // A device gone between sizing and reading the list leaves an unfilled entry, skipped.
    audio.beforeNextCall(Call::get, [&] { audio.unplug(late); });
    EXPECT_EQ(CoreAudioHAL::outputDevices(audio),
              (std::vector<AudioOutputDevice>{{le, "le", "A", T::bluetooth},
                                              {card, "pci", "E3", T::pci},
                                              {classic, "bt", "F", T::bluetooth},
                                              {unknown, "odd", "G", T::other},
                                              {nameless, "usb", "Unbekannt", T::usb},
                                              {unreadable, "tv", "Unbekannt", T::other}}));
}

TEST(CoreAudioHAL, AVolumeIsARequestToTheMainElementOrTheVirtualMainOneKeepingTheBalance) {
    CoreAudioStandIn audio;
    const auto main = audio.plug({.uid = "m", .volumes = {{0, {0.5f}}, {1, {0.2f}}}});
    const auto balanced = audio.plug(
        {.uid = "b", .volumes = {{1, {0.3f}}, {2, {0.6f}}}, .virtualMainVolume = {{0.6f}}});
    const auto fixedMain = audio.plug(
        {.uid = "f", .volumes = {{0, {0.5f, false}}, {1, {0.1f}}}, .virtualMainVolume = {{0.5f}}});
    const auto channelsOnly = audio.plug({.uid = "c", .volumes = {{1, {0.3f}}, {2, {0.7f}}}});
    EXPECT_EQ(CoreAudioHAL::volume(audio, main), 0.5f);
    EXPECT_EQ(CoreAudioHAL::volume(audio, balanced), 0.6f);
    EXPECT_EQ(CoreAudioHAL::volume(audio, channelsOnly), 0.3f);

    EXPECT_TRUE(CoreAudioHAL::setVolume(audio, 1.7f, main));
    EXPECT_EQ(audio.value<float>(main, volumeOf(0)), 0.5f) << "taken, not yet applied";
    settle();
    EXPECT_EQ(audio.value<float>(main, volumeOf(0)), 1.0f);

    // No settable main element: the virtual main volume, never one value on every channel.
    EXPECT_TRUE(CoreAudioHAL::setVolume(audio, -0.2f, balanced));
    EXPECT_TRUE(CoreAudioHAL::setVolume(audio, 0.8f, fixedMain));
    EXPECT_FALSE(CoreAudioHAL::setVolume(audio, 0.5f, channelsOnly));
    settle();
    EXPECT_EQ(audio.value<float>(balanced, kVirtualMain), 0.0f);
    EXPECT_EQ(audio.value<float>(fixedMain, kVirtualMain), 0.8f);
    EXPECT_EQ(audio.value<float>(fixedMain, volumeOf(0)), 0.5f);
    EXPECT_EQ(audio.writes().size(), 3u);
}

TEST(CoreAudioHAL, ARangeStandsForItsEndsAndTheStandardRatesWithinAndNothingSharedGives44100) {
    CoreAudioStandIn audio;
    const auto mixed = audio.plug({.uid = "a", .rateRanges = {{44100, 44100}, {8000, 96000}}});
    EXPECT_EQ(CoreAudioHAL::availableSampleRates(audio, mixed),
              (std::vector<double>{8000, 32000, 44100, 48000, 88200, 96000}));

    const auto narrow = audio.plug({.uid = "b", .rateRanges = {{44100, 44100}, {48000, 48000}}});
    const auto only48 = audio.plug({.uid = "c", .rateRanges = {{48000, 48000}}});
    const auto only96 = audio.plug({.uid = "d", .rateRanges = {{96000, 96000}}});
    const auto unknown = audio.plug({.uid = "e"});
    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {mixed, narrow}), 48000);
    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {mixed, unknown, only96}), 96000);
    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {mixed, only48, only96}), 44100);
}

// Delays are milliseconds; Core Audio takes whole frames at the rate the devices share.
TEST(CoreAudioHAL,
     TheMultiOutputLeadsWithTheMasterAtTheCommonRateWithRoundedLatenciesOrSaysWhyNot) {
    CoreAudioStandIn audio;
    std::vector<AudioOutputDevice> devices;
    for (const auto* uid : {"headset", "speakers", "tv"})
        devices.push_back({audio.plug({.uid = uid, .rateRanges = {{48000, 48000}}}), uid, uid});
    audio.setValue(devices[1].id, kNominalRate, 48000.0, true);

    const auto created = CoreAudioHAL::createMultiOutput(
        audio, devices, "speakers", {{"speakers", 0.0125}, {"headset", 0.03125}, {"tv", 12.5}});

    ASSERT_TRUE(created.has_value());
    ASSERT_EQ(audio.creations().size(), 1u);
    EXPECT_EQ(
        describe(audio.creations()[0]),
        R"({name: "Brivello Multi-Output", uid: "de.tandrel.brivello.multioutput", )"
        R"(subdevices: [{uid: "speakers", drift: 0}, )"
        R"({uid: "headset", drift: 1, latency-out: 2}, {uid: "tv", drift: 1, latency-out: 600}], )"
        R"(master: "speakers", stacked: 1, private: 0})");
    // Every subdevice and the new device run at the shared rate once they said so; the rates
    // replaced are kept to be put back.
    for (const auto id : {devices[0].id, devices[1].id, devices[2].id, created->id})
        EXPECT_EQ(audio.value<double>(id, kNominalRate), 48000);
    EXPECT_EQ(created->replacedRates,
              (std::map<AudioDeviceID, double>{{devices[0].id, 44100}, {devices[2].id, 44100}}));

    // Removed, the device is still there for a while; a new one waits until it is gone.
    audio.clearRecords();
    ASSERT_TRUE(CoreAudioHAL::createMultiOutput(audio, devices, "speakers", {}));
    EXPECT_EQ(audio.removals(), std::vector<AudioDeviceID>{created->id});
    EXPECT_EQ(audio.creations().size(), 1u);

    // One that never goes leaves its UID taken: after a bounded wait the platform refuses.
    audio.fail(Call::destroy, kAudioHardwareIllegalOperationError);
    testing::internal::CaptureStdout();
    EXPECT_EQ(CoreAudioHAL::createMultiOutput(audio, devices, "speakers", {}), std::nullopt);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Brivello: AudioHardwareCreateAggregateDevice failed (" +
                  std::to_string(kAudioHardwareIllegalOperationError) + ")\n");
}

TEST(CoreAudioHAL, DelaysChangeOnTheLiveDeviceWhereItHoldsTheDevices) {
    CoreAudioStandIn audio;
    EXPECT_FALSE(CoreAudioHAL::setExtraLatencies(audio, {{"usb", 10}})) << "no device";
    std::vector<AudioOutputDevice> devices;
    for (const auto* uid : {"speakers", "usb"})
        devices.push_back({audio.plug({.uid = uid, .rateRanges = {{48000, 48000}}}), uid, uid});
    const auto created = CoreAudioHAL::createMultiOutput(audio, devices, "speakers", {{"usb", 10}});
    ASSERT_TRUE(created);
    const auto subdevices = audio.subdeviceObjects(created->id);
    ASSERT_EQ(subdevices.size(), 2u);
    EXPECT_EQ(audio.value<double>(subdevices[1], kExtraLatency), 480);

    EXPECT_TRUE(CoreAudioHAL::setExtraLatencies(audio, {{"speakers", 2.5}, {"usb", 0}}));
    EXPECT_EQ(audio.value<double>(subdevices[0], kExtraLatency), 120);
    EXPECT_EQ(audio.value<double>(subdevices[1], kExtraLatency), 0);
    EXPECT_EQ(audio.creations().size(), 1u);

    // A device it does not hold, or a change never confirmed: it must be built anew.
    EXPECT_FALSE(CoreAudioHAL::setExtraLatencies(audio, {{"tv", 20}}));
    audio.ignoreWrites(subdevices[1], kExtraLatency);
    EXPECT_FALSE(CoreAudioHAL::setExtraLatencies(audio, {{"usb", 20}}));
}

TEST(CoreAudioHAL, EveryLeftoverIsRemoved) {
    CoreAudioStandIn audio;
    const auto aggregate = kAudioDeviceTransportTypeAggregate;
    const auto first = audio.plug({.uid = CoreAudioHAL::kMultiOutputUID, .transport = aggregate});
    const auto studio = audio.plug({.uid = "studio", .transport = aggregate});
    const auto second = audio.plug({.uid = CoreAudioHAL::kMultiOutputUID, .transport = aggregate});
    CoreAudioHAL::destroyExistingMultiOutput(audio);
    EXPECT_EQ(audio.removals(), (std::vector<AudioDeviceID>{first, second}));
    EXPECT_TRUE(CoreAudioHAL::waitUntilMultiOutputGone(audio));
    EXPECT_EQ(audio.deviceList(), std::vector<AudioDeviceID>{studio});
}
