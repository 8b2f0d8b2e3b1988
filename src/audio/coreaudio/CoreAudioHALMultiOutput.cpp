// CoreAudioHAL: Brivello's multi-output device, built, changed in place and removed.
#include "CoreAudioHAL.h"

#include "PropertyAccess.h"
#include "PropertyWait.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <iostream>

using namespace coreaudio;

namespace {

// AudioHardware.h: "The actual destruction of the device is asynchronous"; well above what it
// takes.
constexpr std::chrono::milliseconds kRemovalLimit{2000};
constexpr std::chrono::milliseconds kLatencyLimit{1000};

const PropertyAddress kDeviceList = global(kAudioHardwarePropertyDevices);

// The latency as the whole frame count Core Audio expects; absent below one frame and for counts
// no 64-bit integer holds.
std::optional<std::int64_t> latencyFrames(double frames) {
    if (!(frames >= 1))
        return std::nullopt;
    const double rounded = std::round(frames); // halves away from zero
    if (rounded >= 9223372036854775808.0)      // 2^63
        return std::nullopt;
    return static_cast<std::int64_t>(rounded);
}

std::optional<std::int64_t> framesFor(const std::map<std::string, double>& extraLatencyMs,
                                      const std::string& uid, double rate) {
    auto entry = extraLatencyMs.find(uid);
    return entry == extraLatencyMs.end() ? std::nullopt
                                         : latencyFrames(rate * entry->second / 1000.0);
}

DescriptionDictionary subdeviceDescription(const AudioOutputDevice& device,
                                           const std::string& masterUID,
                                           const std::map<std::string, double>& extraLatencyMs,
                                           double rate) {
    DescriptionDictionary description{
        {kSubDeviceUIDKey, device.uid},
        {kSubDeviceDriftCompensationKey, device.uid == masterUID ? 0 : 1}};
    if (auto frames = framesFor(extraLatencyMs, device.uid, rate))
        description.push_back({kSubDeviceExtraOutputLatencyKey, *frames});
    return description;
}

// The AudioSubDevice objects of the aggregate, by UID.
std::map<std::string, ObjectID> subdeviceObjects(CoreAudioApi& api, AudioDeviceID aggregate) {
    std::map<std::string, ObjectID> objects;
    for (ObjectID object : readIDs(api, aggregate, global(kAudioObjectPropertyOwnedObjects)))
        if (read<std::uint32_t>(api, object, global(kAudioObjectPropertyClass)) ==
            kAudioSubDeviceClassID)
            if (auto uid = readString(api, object, kAudioDevicePropertyDeviceUID))
                objects[*uid] = object;
    return objects;
}

} // namespace

namespace CoreAudioHAL {

std::optional<CreatedMultiOutput>
createMultiOutput(CoreAudioApi& api, const std::vector<AudioOutputDevice>& devices,
                  const std::string& masterUID,
                  const std::map<std::string, double>& extraLatencyMs) {
    if (devices.empty())
        return std::nullopt;
    // A UID still in use is refused: the old device must be gone before the new one is made.
    destroyExistingMultiOutput(api);
    waitUntilMultiOutputGone(api);

    std::vector<AudioDeviceID> ids;
    for (const auto& device : devices)
        ids.push_back(device.id);
    const double rate = commonSampleRate(api, ids);
    std::map<AudioDeviceID, double> rates;
    for (AudioDeviceID id : ids)
        rates[id] = rate;
    CreatedMultiOutput created{kAudioObjectUnknown, setNominalRates(api, rates)};

    // The master leads the subdevice list.
    auto ordered = devices;
    std::stable_partition(ordered.begin(), ordered.end(),
                          [&](const AudioOutputDevice& d) { return d.uid == masterUID; });
    DescriptionArray subdevices;
    for (const auto& device : ordered)
        subdevices.emplace_back(subdeviceDescription(device, masterUID, extraLatencyMs, rate));
    const DescriptionDictionary description{
        {kAggregateNameKey, kMultiOutputName},
        {kAggregateUIDKey, kMultiOutputUID},
        {kAggregateSubDeviceListKey, std::move(subdevices)},
        {kAggregateMainSubDeviceKey, masterUID},
        // AudioHardware.h reads "a value of 0 means that the sub-devices ... are arranged such
        // that the output streams are all fed the same data", yet the Multi-Output devices Audio
        // MIDI Setup makes, which feed every subdevice the same data, carry 1; so does this one.
        {kAggregateIsStackedKey, 1},
        // Visible to the whole system, so it can become the default output.
        {kAggregateIsPrivateKey, 0},
    };

    const Status status = api.createAggregateDevice(description, created.id);
    if (status == kAudioHardwareNoError && created.id != kAudioObjectUnknown) {
        setNominalRates(api, {{created.id, rate}});
        return created;
    }
    std::cout << "Brivello: AudioHardwareCreateAggregateDevice failed (" << status << ")\n"
              << std::flush;
    return std::nullopt;
}

bool setExtraLatencies(CoreAudioApi& api, const std::map<std::string, double>& extraLatencyMs) {
    const auto multiOutput = deviceWithUID(api, kMultiOutputUID);
    if (!multiOutput)
        return false;
    const auto rate = nominalSampleRate(api, *multiOutput);
    const auto objects = subdeviceObjects(api, *multiOutput);
    if (!rate || objects.empty())
        return false;
    for (const auto& [uid, delay] : extraLatencyMs)
        if (delay > 0 && !objects.contains(uid))
            return false;

    // AudioHardware.h: kAudioSubDevicePropertyExtraLatency is "A Float64 indicating the number
    // of sample frames to add to or subtract from the latency compensation used for this
    // AudioSubDevice". Whole frames, as at creation; a subdevice without a delay gets 0.
    std::map<ObjectID, double> wanted;
    std::vector<WatchedProperty> watched;
    const auto address = global(kAudioSubDevicePropertyExtraLatency);
    for (const auto& [uid, object] : objects) {
        const double frames = double(framesFor(extraLatencyMs, uid, *rate).value_or(0));
        if (read<double>(api, object, address) == frames)
            continue;
        if (write(api, object, address, frames) != kAudioHardwareNoError)
            return false;
        wanted[object] = frames;
        watched.emplace_back(object, address);
    }
    return waitUntil(
        api, watched,
        [&] {
            return std::all_of(wanted.begin(), wanted.end(), [&](const auto& entry) {
                return read<double>(api, entry.first, address) == entry.second;
            });
        },
        kLatencyLimit);
}

std::vector<std::string> multiOutputMembers(CoreAudioApi& api) {
    const auto multiOutput = deviceWithUID(api, kMultiOutputUID);
    if (!multiOutput)
        return {};
    std::vector<std::string> uids;
    for (AudioDeviceID id :
         readIDs(api, *multiOutput, global(kAudioAggregateDevicePropertyActiveSubDeviceList)))
        if (auto uid = readString(api, id, kAudioDevicePropertyDeviceUID))
            uids.push_back(std::move(*uid));
    return uids;
}

void destroyExistingMultiOutput(CoreAudioApi& api) {
    for (AudioDeviceID id : allDeviceIDs(api)) {
        auto uid = readString(api, id, kAudioDevicePropertyDeviceUID);
        if (uid && *uid == kMultiOutputUID)
            api.destroyAggregateDevice(id); // failures are left for the next run to clean up
    }
}

bool waitUntilMultiOutputGone(CoreAudioApi& api) {
    return waitUntil(
        api, {{kAudioObjectSystemObject, kDeviceList}},
        [&] { return !deviceWithUID(api, kMultiOutputUID); }, kRemovalLimit);
}

} // namespace CoreAudioHAL
