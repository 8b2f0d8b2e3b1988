#include "CoreAudioHAL.h"
#include "CoreAudioStandIn.h"
#include "DescriptionPrinter.h"

#include <gtest/gtest.h>

using namespace coreaudio;
using Call = CoreAudioStandIn::Call;
using T = AudioOutputDevice::Transport;

namespace {

const PropertyAddress kNominalRate =
    CoreAudioStandIn::global(kAudioDevicePropertyNominalSampleRate);

struct Plugged {
    CoreAudioStandIn audio;
    std::vector<AudioOutputDevice> devices;

    void plug(const std::string& uid, T transport, std::vector<ValueRange> rates) {
        const auto id = audio.plug({.uid = uid, .name = uid, .rateRanges = std::move(rates)});
        devices.push_back({id, uid, uid, transport});
    }
};

DescriptionValue subdevice(const std::string& uid, int drift) {
    return DescriptionDictionary{{"uid", uid}, {"drift", drift}};
}

DescriptionValue subdevice(const std::string& uid, int drift, std::int64_t latency) {
    return DescriptionDictionary{{"uid", uid}, {"drift", drift}, {"latency-out", latency}};
}

DescriptionDictionary multiOutput(DescriptionArray subdevices, const std::string& master) {
    return {{"name", "Brivello Multi-Output"},
            {"uid", "de.tandrel.brivello.multioutput"},
            {"subdevices", std::move(subdevices)},
            {"master", master},
            {"stacked", 1},
            {"private", 0}};
}

std::string uidOf(CoreAudioStandIn& audio, AudioDeviceID device) {
    std::optional<std::string> uid;
    audio.getStringProperty(device, CoreAudioStandIn::global(kAudioDevicePropertyDeviceUID), uid);
    return uid.value_or("");
}

} // namespace

TEST(CoreAudioMultiOutput, StacksTheDevicesInOrderWithTheMasterUndriftedAndAllAtTheCommonRate) {
    Plugged p;
    p.plug("speakers", T::builtIn, {{44100, 44100}, {48000, 48000}, {96000, 96000}});
    p.plug("headset", T::bluetooth, {{44100, 44100}, {48000, 48000}});
    p.plug("tv", T::hdmi, {});

    const auto created = CoreAudioHAL::createMultiOutput(p.audio, p.devices, "speakers",
                                                         {{"headset", 441.0}, {"tv", 0.0}});

    ASSERT_TRUE(created.has_value());
    ASSERT_EQ(p.audio.creations().size(), 1u);
    EXPECT_EQ(
        p.audio.creations()[0],
        multiOutput({subdevice("speakers", 0), subdevice("headset", 1, 441), subdevice("tv", 1)},
                    "speakers"));

    // Every subdevice, then the new device, is set to the rate all of them share.
    std::vector<std::pair<AudioDeviceID, double>> rateWrites;
    for (const auto& write : p.audio.writes())
        if (write.address == kNominalRate)
            rateWrites.emplace_back(write.object, write.as<double>());
    EXPECT_EQ(rateWrites, (std::vector<std::pair<AudioDeviceID, double>>{{p.devices[0].id, 48000},
                                                                         {p.devices[1].id, 48000},
                                                                         {p.devices[2].id, 48000},
                                                                         {*created, 48000}}));

    // The new device is real to the platform, yet never offered as an output.
    EXPECT_EQ(uidOf(p.audio, *created), CoreAudioHAL::kMultiOutputUID);
    EXPECT_EQ(CoreAudioHAL::outputDevices(p.audio).size(), 3u);
}

TEST(CoreAudioMultiOutput, ExtraLatencyCountsFromOneFrameRoundedHalfAwayFromZero) {
    Plugged p;
    for (const char* uid : {"a", "b", "c", "d", "e", "f", "g"})
        p.plug(uid, T::usb, {});
    CoreAudioHAL::createMultiOutput(
        p.audio, p.devices, "a",
        {{"a", 0.6}, {"b", 1.0}, {"c", 2.5}, {"d", 1.5}, {"e", 0.0}, {"f", -3.0}, {"g", 7938.4}});

    ASSERT_EQ(p.audio.creations().size(), 1u);
    EXPECT_EQ(*find(p.audio.creations()[0], "subdevices"),
              DescriptionValue(DescriptionArray{subdevice("a", 0), subdevice("b", 1, 1),
                                                subdevice("c", 1, 3), subdevice("d", 1, 2),
                                                subdevice("e", 1), subdevice("f", 1),
                                                subdevice("g", 1, 7938)}));
}

TEST(CoreAudioMultiOutput, AMasterThatIsNoneOfTheDevicesLeavesEveryDeviceDrifting) {
    Plugged p;
    p.plug("a", T::bluetooth, {});
    p.plug("b", T::bluetooth, {});
    CoreAudioHAL::createMultiOutput(p.audio, p.devices, "elsewhere", {});
    ASSERT_EQ(p.audio.creations().size(), 1u);
    EXPECT_EQ(p.audio.creations()[0],
              multiOutput({subdevice("a", 1), subdevice("b", 1)}, "elsewhere"));
}

TEST(CoreAudioMultiOutput, EveryDeviceWithTheMultiOutputUidIsRemovedAndNothingElse) {
    CoreAudioStandIn audio;
    const auto leftover = audio.plug(
        {.uid = CoreAudioHAL::kMultiOutputUID, .transport = kAudioDeviceTransportTypeAggregate});
    const auto other =
        audio.plug({.uid = "studio", .transport = kAudioDeviceTransportTypeAggregate});
    const auto secondLeftover = audio.plug(
        {.uid = CoreAudioHAL::kMultiOutputUID, .transport = kAudioDeviceTransportTypeAggregate});
    const auto nameless = audio.plug({.uid = std::nullopt});

    CoreAudioHAL::destroyExistingMultiOutput(audio);
    EXPECT_EQ(audio.removals(), (std::vector<AudioDeviceID>{leftover, secondLeftover}));
    EXPECT_EQ(audio.deviceList(), (std::vector<AudioDeviceID>{other, nameless}));

    // Creating replaces an earlier device rather than adding a second one.
    const auto device = audio.plug({.uid = "speakers"});
    const auto first =
        CoreAudioHAL::createMultiOutput(audio, {{device, "speakers", "S", T::usb}}, "speakers", {});
    ASSERT_TRUE(first.has_value());
    audio.clearRecords();
    const auto second =
        CoreAudioHAL::createMultiOutput(audio, {{device, "speakers", "S", T::usb}}, "speakers", {});
    ASSERT_TRUE(second.has_value());
    EXPECT_EQ(audio.removals(), std::vector<AudioDeviceID>{*first});
    EXPECT_FALSE(audio.exists(*first));
    EXPECT_TRUE(audio.exists(*second));
}

TEST(CoreAudioMultiOutput, AFailedCreationSaysSoOnStandardOutputAndCreatesNothing) {
    Plugged p;
    p.plug("a", T::usb, {{48000, 48000}});
    p.audio.fail(Call::createAggregateDevice, kAudio_ParamError);

    testing::internal::CaptureStdout();
    const auto created = CoreAudioHAL::createMultiOutput(p.audio, p.devices, "a", {});
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Brivello: AudioHardwareCreateAggregateDevice failed (-50)\n");
    EXPECT_EQ(created, std::nullopt);
    EXPECT_EQ(p.audio.creations().size(), 1u);
    EXPECT_EQ(p.audio.deviceList(), std::vector<AudioDeviceID>{p.devices[0].id});
    // The subdevice keeps the rate it was given on the way.
    EXPECT_EQ(p.audio.value<double>(p.devices[0].id, kNominalRate), 48000);

    // Success without an id is a failure too.
    p.audio.fail(Call::createAggregateDevice, kAudioHardwareNoError);
    testing::internal::CaptureStdout();
    EXPECT_EQ(CoreAudioHAL::createMultiOutput(p.audio, p.devices, "a", {}), std::nullopt);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Brivello: AudioHardwareCreateAggregateDevice failed (0)\n");
}

TEST(CoreAudioMultiOutput, NoDevicesMeansNoChangeAnywhere) {
    CoreAudioStandIn audio;
    audio.plug(
        {.uid = CoreAudioHAL::kMultiOutputUID, .transport = kAudioDeviceTransportTypeAggregate});
    testing::internal::CaptureStdout();
    EXPECT_EQ(CoreAudioHAL::createMultiOutput(audio, {}, "a", {}), std::nullopt);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(audio.creations().empty());
    EXPECT_TRUE(audio.removals().empty());
    EXPECT_TRUE(audio.writes().empty());
}
