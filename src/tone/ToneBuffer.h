#pragma once

#include <cstdint>
#include <optional>
#include <vector>

// One second of the test tone at an output's format: a 440 Hz sine at a peak of 0.18, every channel
// the same, interleaved 32-bit float frames. At an integral rate a second holds exactly 440
// periods, so the buffer loops without a jump.
struct ToneBuffer {
    double sampleRate = 0;
    std::uint32_t channels = 0;
    std::uint32_t frames = 0;
    std::vector<float> samples; // frames × channels, frame by frame

    static constexpr double kFrequency = 440.0;
    static constexpr float kAmplitude = 0.18f;

    // Absent for a rate that is not finite, below 1 Hz or 2^32 Hz and above, or for no channels;
    // a rate's fraction is cut off.
    static std::optional<ToneBuffer> make(double sampleRate, std::uint32_t channels);
};
