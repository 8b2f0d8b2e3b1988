#include "CoreAudioHAL.h"
#include "CoreAudioStandIn.h"

#include <gtest/gtest.h>

using namespace coreaudio;
using Call = CoreAudioStandIn::Call;
using Rates = std::vector<double>;

namespace {

CoreAudioStandIn::Device withRates(std::vector<ValueRange> ranges) {
    return {.uid = "d", .rateRanges = std::move(ranges)};
}

} // namespace

TEST(CoreAudioSampleRates, AContinuousRangeStandsForItsEndsAndTheStandardRatesWithin) {
    CoreAudioStandIn audio;
    const auto mixed = audio.plug(withRates({{44100, 44100}, {8000, 96000}}));
    EXPECT_EQ(CoreAudioHAL::availableSampleRates(audio, mixed),
              (Rates{8000, 32000, 44100, 48000, 88200, 96000}));

    const auto discrete = audio.plug(withRates({{48000, 48000}, {44100, 44100}}));
    EXPECT_EQ(CoreAudioHAL::availableSampleRates(audio, discrete), (Rates{44100, 48000}));

    const auto single = audio.plug(withRates({{8000, 8000}}));
    EXPECT_EQ(CoreAudioHAL::availableSampleRates(audio, single), (Rates{8000}));

    const auto oddEnds = audio.plug(withRates({{22050, 50000}}));
    EXPECT_EQ(CoreAudioHAL::availableSampleRates(audio, oddEnds),
              (Rates{22050, 32000, 44100, 48000, 50000}));
}

TEST(CoreAudioSampleRates, AnUnreadableRateListIsEmpty) {
    CoreAudioStandIn audio;
    const auto none = audio.plug(withRates({}));
    EXPECT_TRUE(CoreAudioHAL::availableSampleRates(audio, none).empty());

    const auto sizeFails = audio.plug(withRates({{44100, 44100}}));
    audio.fail(Call::getPropertyDataSize, sizeFails, kAudioHardwareUnspecifiedError);
    EXPECT_TRUE(CoreAudioHAL::availableSampleRates(audio, sizeFails).empty());

    const auto readFails = audio.plug(withRates({{44100, 44100}}));
    audio.fail(Call::getPropertyData, readFails, kAudioHardwareUnspecifiedError);
    EXPECT_TRUE(CoreAudioHAL::availableSampleRates(audio, readFails).empty());

    // Less than one whole range is no range.
    const auto truncated = audio.plug(withRates({}));
    audio.setArray(truncated,
                   CoreAudioStandIn::output(kAudioDevicePropertyAvailableNominalSampleRates),
                   std::vector<double>{44100});
    EXPECT_TRUE(CoreAudioHAL::availableSampleRates(audio, truncated).empty());
}

TEST(CoreAudioSampleRates, TheCommonRateIsTheHighestSharedOneAndOtherwise44100) {
    CoreAudioStandIn audio;
    const auto wide = audio.plug(withRates({{44100, 44100}, {48000, 48000}, {96000, 96000}}));
    const auto narrow = audio.plug(withRates({{44100, 44100}, {48000, 48000}}));
    const auto only48 = audio.plug(withRates({{48000, 48000}}));
    const auto only96 = audio.plug(withRates({{96000, 96000}}));
    const auto unknown = audio.plug(withRates({}));

    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {wide, narrow}), 48000);
    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {wide}), 96000);
    // Devices without readable rates do not constrain the choice.
    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {unknown, narrow}), 48000);
    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {wide, unknown, only96}), 96000);
    // Nothing shared, nothing known, nothing asked: the fallback.
    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {only48, only96}), 44100);
    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {wide, only48, only96}), 44100);
    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {unknown}), 44100);
    EXPECT_EQ(CoreAudioHAL::commonSampleRate(audio, {}), 44100);
}
