#include "CoreAudioHAL.h"
#include "CoreAudioStandIn.h"

#include <gtest/gtest.h>

using namespace coreaudio;
using Call = CoreAudioStandIn::Call;
using Volume = CoreAudioStandIn::Volume;

namespace {

PropertyAddress volumeOn(std::uint32_t element) {
    return CoreAudioStandIn::output(kAudioDevicePropertyVolumeScalar, element);
}

} // namespace

TEST(CoreAudioVolume, ReadsTheMainElementAndFallsBackToTheFirstChannel) {
    CoreAudioStandIn audio;
    const auto main = audio.plug({.uid = "m", .mainVolume = Volume{0.5f}});
    const auto channels =
        audio.plug({.uid = "c", .channel1Volume = Volume{0.3f}, .channel2Volume = Volume{0.7f}});
    const auto mainFails =
        audio.plug({.uid = "f", .mainVolume = Volume{0.9f}, .channel1Volume = Volume{0.4f}});
    audio.fail(Call::getPropertyData, mainFails, volumeOn(0), kAudioHardwareUnspecifiedError);
    const auto onlySecondChannel = audio.plug({.uid = "2", .channel2Volume = Volume{0.6f}});
    const auto channelFails = audio.plug({.uid = "cf", .channel1Volume = Volume{0.2f}});
    audio.fail(Call::getPropertyData, channelFails, volumeOn(1), kAudioHardwareUnspecifiedError);

    EXPECT_EQ(CoreAudioHAL::volume(audio, main), 0.5f);
    EXPECT_EQ(CoreAudioHAL::volume(audio, channels), 0.3f);
    EXPECT_EQ(CoreAudioHAL::volume(audio, mainFails), 0.4f);
    EXPECT_EQ(CoreAudioHAL::volume(audio, onlySecondChannel), std::nullopt);
    EXPECT_EQ(CoreAudioHAL::volume(audio, channelFails), std::nullopt);
    EXPECT_EQ(CoreAudioHAL::volume(audio, 4711), std::nullopt);
}

TEST(CoreAudioVolume, WritesTheMainElementOnceClampedToTheUnitRange) {
    CoreAudioStandIn audio;
    const auto device = audio.plug({.uid = "m",
                                    .mainVolume = Volume{0.5f},
                                    .channel1Volume = Volume{0.5f},
                                    .channel2Volume = Volume{0.5f}});

    EXPECT_TRUE(CoreAudioHAL::setVolume(audio, 1.7f, device));
    EXPECT_EQ(audio.value<float>(device, volumeOn(0)), 1.0f);
    EXPECT_TRUE(CoreAudioHAL::setVolume(audio, -0.2f, device));
    EXPECT_EQ(audio.value<float>(device, volumeOn(0)), 0.0f);

    ASSERT_EQ(audio.writes().size(), 2u); // the channels stay untouched
    for (const auto& write : audio.writes()) {
        EXPECT_EQ(write.address, volumeOn(0));
        EXPECT_EQ(write.data.size(), sizeof(float));
    }
}

TEST(CoreAudioVolume, WritesBothChannelsWhenTheMainElementCannotTakeTheValue) {
    CoreAudioStandIn audio;
    const auto fixedMain = audio.plug({.uid = "fixed",
                                       .mainVolume = Volume{0.5f, false},
                                       .channel1Volume = Volume{0.1f},
                                       .channel2Volume = Volume{0.1f}});
    EXPECT_TRUE(CoreAudioHAL::setVolume(audio, 0.8f, fixedMain));
    EXPECT_EQ(audio.value<float>(fixedMain, volumeOn(0)), 0.5f);
    EXPECT_EQ(audio.value<float>(fixedMain, volumeOn(1)), 0.8f);
    EXPECT_EQ(audio.value<float>(fixedMain, volumeOn(2)), 0.8f);

    // A failed main write falls through to the channels as well; the second channel's success
    // is enough.
    const auto flaky = audio.plug({.uid = "flaky",
                                   .mainVolume = Volume{0.5f},
                                   .channel1Volume = Volume{0.1f},
                                   .channel2Volume = Volume{0.1f}});
    audio.fail(Call::setPropertyData, flaky, volumeOn(0), kAudioHardwareUnspecifiedError);
    audio.fail(Call::setPropertyData, flaky, volumeOn(1), kAudioHardwareUnspecifiedError);
    audio.clearRecords();
    EXPECT_TRUE(CoreAudioHAL::setVolume(audio, 0.3f, flaky));
    ASSERT_EQ(audio.writes().size(), 3u);
    EXPECT_EQ(audio.writes()[1].address, volumeOn(1));
    EXPECT_EQ(audio.writes()[2].address, volumeOn(2));
    EXPECT_EQ(audio.writes()[2].as<float>(), 0.3f);

    // A main element whose settability cannot be asked counts as not settable.
    const auto unknownSettable =
        audio.plug({.uid = "unknown", .mainVolume = Volume{0.5f}, .channel1Volume = Volume{0.1f}});
    audio.fail(Call::isPropertySettable, unknownSettable, kAudioHardwareUnspecifiedError);
    EXPECT_TRUE(CoreAudioHAL::setVolume(audio, 0.6f, unknownSettable));
    EXPECT_EQ(audio.value<float>(unknownSettable, volumeOn(0)), 0.5f);
    EXPECT_EQ(audio.value<float>(unknownSettable, volumeOn(1)), 0.6f);
}

TEST(CoreAudioVolume, ReportsFailureWhenNothingTookTheValue) {
    CoreAudioStandIn audio;
    const auto noVolume = audio.plug({.uid = "none"});
    EXPECT_FALSE(CoreAudioHAL::setVolume(audio, 0.5f, noVolume));
    EXPECT_TRUE(audio.writes().empty());

    const auto broken = audio.plug(
        {.uid = "broken", .channel1Volume = Volume{0.1f}, .channel2Volume = Volume{0.1f}});
    audio.fail(Call::setPropertyData, broken, kAudioHardwareUnspecifiedError);
    EXPECT_FALSE(CoreAudioHAL::setVolume(audio, 0.5f, broken));
    EXPECT_EQ(audio.writes().size(), 2u);
}
