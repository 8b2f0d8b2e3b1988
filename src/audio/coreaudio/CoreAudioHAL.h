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

// Devices with output streams and a readable UID, sorted by name; never an aggregate device,
// Brivello's own or another: an aggregate cannot be a subdevice.
std::vector<AudioOutputDevice> outputDevices(CoreAudioApi& api);

AudioOutputDevice::Transport transportType(CoreAudioApi& api, AudioDeviceID device);

// The main-element output volume, else the virtual main volume, else channel 1's; absent when
// none can be read.
std::optional<float> volume(CoreAudioApi& api, AudioDeviceID device);

// Writes the volume clamped to 0…1 to the main element, or, where the device has no settable one,
// to the virtual main volume, which keeps the balance between the channels. True when the device
// took the request.
bool setVolume(CoreAudioApi& api, float volume, AudioDeviceID device);

// The nominal rates the device supports, ascending; empty when they cannot be read.
std::vector<double> availableSampleRates(CoreAudioApi& api, AudioDeviceID device);

// The highest rate every device with readable rates supports; 44100 when there is none.
double commonSampleRate(CoreAudioApi& api, const std::vector<AudioDeviceID>& devices);

// The nominal rate the device runs at; absent when it cannot be read.
std::optional<double> nominalSampleRate(CoreAudioApi& api, AudioDeviceID device);

// Asks each device for its rate and waits (bounded) until they all report it. Returns the rates
// the devices ran at before, of those that were changed.
std::map<AudioDeviceID, double> setNominalRates(CoreAudioApi& api,
                                                const std::map<AudioDeviceID, double>& rates);

// The id the device with this UID has now; absent when no device has it.
std::optional<AudioDeviceID> deviceWithUID(CoreAudioApi& api, const std::string& uid);

struct CreatedMultiOutput {
    AudioDeviceID id = 0;
    // The rates of the subdevices that were changed to reach the common one, as they were.
    std::map<AudioDeviceID, double> replacedRates;
};

// Builds the stacked multi-output device from `devices`, the master first, clocked by
// `masterUID`, with the extra output latency (milliseconds, turned into frames at the common
// rate) per device UID. Removes any earlier one first and waits (bounded) until it is gone.
// Absent when nothing was created.
std::optional<CreatedMultiOutput>
createMultiOutput(CoreAudioApi& api, const std::vector<AudioOutputDevice>& devices,
                  const std::string& masterUID,
                  const std::map<std::string, double>& extraLatencyMs);

// Changes the extra latency of every subdevice of the live multi-output device in place: the
// entry of its UID in milliseconds, none for a UID without one. False when there is no such
// device, a UID with an entry is not among its subdevices, or the change was not confirmed in
// time: then the device must be built anew.
bool setExtraLatencies(CoreAudioApi& api, const std::map<std::string, double>& extraLatencyMs);

// The UIDs of the subdevices the multi-output device plays on now, in its order; empty when
// there is no multi-output device.
std::vector<std::string> multiOutputMembers(CoreAudioApi& api);

// Removes every device carrying the multi-output UID. The removal completes later; see
// createMultiOutput for a wait until it has.
void destroyExistingMultiOutput(CoreAudioApi& api);

// Waits (bounded) until no device carries the multi-output UID; true when none does.
bool waitUntilMultiOutputGone(CoreAudioApi& api);

} // namespace CoreAudioHAL
