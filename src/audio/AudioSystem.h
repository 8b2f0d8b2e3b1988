#pragma once

#include "AudioOutputDevice.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// Everything the multi-output controller needs of the platform's sound system. One
// implementation per platform: Core Audio on macOS, a PulseAudio/PipeWire server on Linux.
// All calls are synchronous and made on the main thread; failures are folded into the results.
class AudioSystem {
public:
    virtual ~AudioSystem() = default;

    // The present output devices, sorted by name; Brivello's own multi-output device never.
    virtual std::vector<AudioOutputDevice> outputDevices() = 0;

    // The device's volume as the platform holds it, 1 being full scale; above 1 where the
    // platform amplifies (PulseAudio does). Absent when it cannot be read.
    virtual std::optional<float> volume(AudioDeviceID device) = 0;
    // Writes the volume clamped to 0…1; true when the device took it.
    virtual bool setVolume(float volume, AudioDeviceID device) = 0;

    // The rate (Hz) the multi-output device of these devices will run at.
    virtual double commonSampleRate(const std::vector<AudioDeviceID>& devices) = 0;

    // Creates the multi-output device from `devices` in order, clocked by the device whose uid is
    // `masterUID`, each device delayed by its entry of `extraLatencyMs` (milliseconds by uid).
    // Removes any earlier multi-output device first. Absent on failure.
    virtual std::optional<AudioDeviceID>
    createMultiOutput(const std::vector<AudioOutputDevice>& devices, const std::string& masterUID,
                      const std::map<std::string, double>& extraLatencyMs) = 0;

    // The uids of the devices the live multi-output device really plays on right now; empty
    // when there is none.
    virtual std::vector<std::string> multiOutputMembers() = 0;

    // Removes every multi-output device of Brivello's, whoever left it behind.
    virtual void destroyExistingMultiOutput() = 0;

    // Removes the multi-output device with this id; failures are ignored.
    virtual void removeDevice(AudioDeviceID device) = 0;

    // The system's default output device, 0 when it cannot be read.
    virtual AudioDeviceID defaultOutputDevice() = 0;
    // Makes the device the default output; the platform's status, 0 on success.
    virtual std::int32_t setDefaultOutputDevice(AudioDeviceID device) = 0;

    // Clears the device's output mute when the platform lets it be written.
    virtual void unmute(AudioDeviceID device) = 0;

    // `listener` runs on the main thread, once per change of the platform's device list.
    // Replaces any earlier listener; an empty function removes it.
    virtual void setDeviceListListener(std::function<void()> listener) = 0;

    // `listener` runs on the main thread after a device's volume or mute changed, whoever
    // changed it. It gets the device only: the current value is read through volume().
    // Replaces any earlier listener; an empty function removes it.
    virtual void setVolumeListener(std::function<void(AudioDeviceID)> listener) = 0;
};
