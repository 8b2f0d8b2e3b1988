#include "CoreAudioToneOutput.h"

#include <algorithm>
#include <cstring>

namespace {

std::string describe(const char* what, OSStatus status) {
    return std::string(what) + " (OSStatus " + std::to_string(status) + ")";
}

} // namespace

CoreAudioToneOutput::~CoreAudioToneOutput() {
    if (!m_unit)
        return;
    if (m_running)
        AudioOutputUnitStop(m_unit);
    if (m_initialized)
        AudioUnitUninitialize(m_unit);
    AudioComponentInstanceDispose(m_unit);
}

bool CoreAudioToneOutput::makeUnit() {
    if (m_unit)
        return true;
    AudioComponentDescription description{};
    description.componentType = kAudioUnitType_Output;
    description.componentSubType = kAudioUnitSubType_DefaultOutput;
    description.componentManufacturer = kAudioUnitManufacturer_Apple;
    AudioComponent component = AudioComponentFindNext(nullptr, &description);
    return component && AudioComponentInstanceNew(component, &m_unit) == noErr;
}

std::optional<ToneOutput::Format> CoreAudioToneOutput::format() {
    if (!makeUnit())
        return std::nullopt;
    // The output scope of element 0 is the device's side of the unit.
    AudioStreamBasicDescription device{};
    UInt32 size = sizeof device;
    if (AudioUnitGetProperty(m_unit, kAudioUnitProperty_StreamFormat, kAudioUnitScope_Output, 0,
                             &device, &size) != noErr)
        return std::nullopt;
    return Format{device.mSampleRate, device.mChannelsPerFrame};
}

std::optional<std::string> CoreAudioToneOutput::play(std::shared_ptr<const ToneBuffer> buffer) {
    if (!makeUnit())
        return std::string("no default output unit");
    if (m_running) {
        AudioOutputUnitStop(m_unit);
        m_running = false;
    }
    m_buffer = std::move(buffer);
    m_frame = 0;

    // What the render callback hands over: interleaved 32-bit floats in the buffer's format.
    AudioStreamBasicDescription input{};
    input.mSampleRate = m_buffer->sampleRate;
    input.mFormatID = kAudioFormatLinearPCM;
    input.mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
    input.mChannelsPerFrame = m_buffer->channels;
    input.mBitsPerChannel = 32;
    input.mBytesPerFrame = 4 * m_buffer->channels;
    input.mFramesPerPacket = 1;
    input.mBytesPerPacket = input.mBytesPerFrame;
    if (m_initialized) {
        AudioUnitUninitialize(m_unit);
        m_initialized = false;
    }
    if (OSStatus status = AudioUnitSetProperty(m_unit, kAudioUnitProperty_StreamFormat,
                                               kAudioUnitScope_Input, 0, &input, sizeof input))
        return describe("setting the stream format failed", status);
    AURenderCallbackStruct callback{&CoreAudioToneOutput::render, this};
    if (OSStatus status =
            AudioUnitSetProperty(m_unit, kAudioUnitProperty_SetRenderCallback,
                                 kAudioUnitScope_Input, 0, &callback, sizeof callback))
        return describe("setting the render callback failed", status);
    if (OSStatus status = AudioUnitInitialize(m_unit))
        return describe("initializing the output unit failed", status);
    m_initialized = true;
    if (OSStatus status = AudioOutputUnitStart(m_unit))
        return describe("starting the output unit failed", status);
    m_running = true;
    return std::nullopt;
}

void CoreAudioToneOutput::stop() {
    // AudioOutputUnitStop returns once the render thread has left the callback.
    if (m_unit && m_running)
        AudioOutputUnitStop(m_unit);
    m_running = false;
}

OSStatus CoreAudioToneOutput::render(void* self, AudioUnitRenderActionFlags* /*flags*/,
                                     const AudioTimeStamp* /*time*/, UInt32 /*bus*/, UInt32 frames,
                                     AudioBufferList* data) {
    auto* output = static_cast<CoreAudioToneOutput*>(self);
    const ToneBuffer& tone = *output->m_buffer;
    auto* out = static_cast<float*>(data->mBuffers[0].mData);
    const std::uint32_t channels = tone.channels;
    UInt32 written = 0;
    while (written < frames) {
        const UInt32 run = std::min(frames - written, tone.frames - output->m_frame);
        std::memcpy(out + static_cast<std::size_t>(written) * channels,
                    tone.samples.data() + static_cast<std::size_t>(output->m_frame) * channels,
                    static_cast<std::size_t>(run) * channels * sizeof(float));
        written += run;
        output->m_frame = (output->m_frame + run) % tone.frames;
    }
    return noErr;
}
