#pragma once

#include "AudioOutputDevice.h"
#include "CoreAudioApi.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

// Device queries and the multi-output device on Core Audio. Stateless: every call asks the
// platform anew through `api` and folds failures into its result.
namespace CoreAudioHAL {

inline constexpr const char* kMultiOutputName = "Brivello Multi-Output";
inline constexpr const char* kMultiOutputUID = "de.tandrel.brivello.multioutput";

// Every audio device id, in the platform's order; an entry the platform left unfilled is 0.
std::vector<AudioDeviceID> allDeviceIDs(CoreAudioApi& api);

// Devices with output streams and a readable UID, sorted by name; never Brivello's own device.
std::vector<AudioOutputDevice> outputDevices(CoreAudioApi& api);

AudioOutputDevice::Transport transportType(CoreAudioApi& api, AudioDeviceID device);

// The main-element output volume, else channel 1's; absent when neither can be read.
std::optional<float> volume(CoreAudioApi& api, AudioDeviceID device);

// Writes the volume clamped to 0…1 to the main element, or to both channels when the main
// element cannot take it. True when any write succeeded.
bool setVolume(CoreAudioApi& api, float volume, AudioDeviceID device);

// The nominal rates the device supports, ascending; empty when they cannot be read.
std::vector<double> availableSampleRates(CoreAudioApi& api, AudioDeviceID device);

// The highest rate every device with readable rates supports; 44100 when there is none.
double commonSampleRate(CoreAudioApi& api, const std::vector<AudioDeviceID>& devices);

// Builds the stacked multi-output device from `devices` in order, clocked by `masterUID`, with
// the extra output latency (milliseconds, turned into frames at the common rate) per device UID.
// Absent when nothing was created.
std::optional<AudioDeviceID> createMultiOutput(CoreAudioApi& api,
                                               const std::vector<AudioOutputDevice>& devices,
                                               const std::string& masterUID,
                                               const std::map<std::string, double>& extraLatencyMs);

// The UIDs of the subdevices the multi-output device plays on now, in its order; empty when
// there is no multi-output device.
std::vector<std::string> multiOutputMembers(CoreAudioApi& api);

// Removes every device carrying the multi-output UID.
void destroyExistingMultiOutput(CoreAudioApi& api);

} // namespace CoreAudioHAL
