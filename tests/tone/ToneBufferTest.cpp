#include "ToneBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

TEST(ToneBuffer, OneSecondOfA440HzSineThatLoopsWithoutAJump) {
    const auto buffer = ToneBuffer::make(48000, 2);
    ASSERT_TRUE(buffer);
    EXPECT_EQ(buffer->frames, 48000u);
    ASSERT_EQ(buffer->samples.size(), 96000u);
    EXPECT_EQ(buffer->samples[0], 0.0f);
    float peak = 0;
    for (std::size_t frame = 0; frame < buffer->frames; ++frame) {
        EXPECT_EQ(buffer->samples[2 * frame], buffer->samples[2 * frame + 1]);
        peak = std::max(peak, std::abs(buffer->samples[2 * frame]));
    }
    EXPECT_LE(peak, 0.18f);
    EXPECT_GT(peak, 0.1799f);
    // The frame after the last is the first again: 440 whole periods.
    const float next =
        static_cast<float>(std::sin(2 * std::numbers::pi * 440.0 / 48000 * 48000)) * 0.18f;
    EXPECT_NEAR(next, buffer->samples[0], 1e-6);
    // A quarter period in: the crest.
    EXPECT_NEAR(ToneBuffer::make(44000, 1)->samples[25], 0.18f, 1e-6);

    EXPECT_EQ(ToneBuffer::make(44100.9, 1)->frames, 44100u) << "the fraction is cut";
    EXPECT_FALSE(ToneBuffer::make(-1, 2));
    EXPECT_FALSE(ToneBuffer::make(std::numeric_limits<double>::quiet_NaN(), 2));
    EXPECT_FALSE(ToneBuffer::make(std::numeric_limits<double>::infinity(), 2));
    EXPECT_FALSE(ToneBuffer::make(4294967296.0, 2));
    EXPECT_FALSE(ToneBuffer::make(48000, 0));
}
