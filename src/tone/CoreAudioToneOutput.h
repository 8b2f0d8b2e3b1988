#pragma once

#include "ToneOutput.h"

#include <AudioToolbox/AudioToolbox.h>

// The test tone on macOS: the default output audio unit, which follows the system's default
// output device by itself, fed from the looping tone buffer on Core Audio's render thread.
class CoreAudioToneOutput : public ToneOutput {
public:
    CoreAudioToneOutput() = default;
    ~CoreAudioToneOutput() override;
    CoreAudioToneOutput(const CoreAudioToneOutput&) = delete;
    CoreAudioToneOutput& operator=(const CoreAudioToneOutput&) = delete;

    std::optional<Format> format() override;
    std::optional<std::string> play(std::shared_ptr<const ToneBuffer> buffer) override;
    void stop() override;

private:
    static OSStatus render(void* self, AudioUnitRenderActionFlags* flags,
                           const AudioTimeStamp* time, UInt32 bus, UInt32 frames,
                           AudioBufferList* data);
    bool makeUnit();

    AudioComponentInstance m_unit = nullptr;
    bool m_initialized = false;
    bool m_running = false;
    // Swapped only while the unit is stopped; the render thread reads it while it runs.
    std::shared_ptr<const ToneBuffer> m_buffer;
    std::uint32_t m_frame = 0; // the render thread's position in the buffer
};
