#include "ToneBuffer.h"

#include <cmath>
#include <numbers>

std::optional<ToneBuffer> ToneBuffer::make(double sampleRate, std::uint32_t channels) {
    constexpr double kLargestRate = 4294967296.0; // 2^32: frame counts are 32-bit
    // A few hundred channels is already far beyond any device; more is a damaged format.
    constexpr std::uint32_t kMostChannels = 256;
    if (!std::isfinite(sampleRate) || sampleRate < 1 || sampleRate >= kLargestRate ||
        channels == 0 || channels > kMostChannels)
        return std::nullopt;

    ToneBuffer buffer;
    buffer.sampleRate = sampleRate;
    buffer.channels = channels;
    buffer.frames = static_cast<std::uint32_t>(sampleRate);
    buffer.samples.resize(static_cast<std::size_t>(buffer.frames) * channels);
    const double step = 2 * std::numbers::pi * kFrequency / sampleRate;
    for (std::uint32_t frame = 0; frame < buffer.frames; ++frame) {
        const float sample = static_cast<float>(std::sin(step * frame)) * kAmplitude;
        for (std::uint32_t channel = 0; channel < channels; ++channel)
            buffer.samples[static_cast<std::size_t>(frame) * channels + channel] = sample;
    }
    return buffer;
}
