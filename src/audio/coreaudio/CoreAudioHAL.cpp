#include "CoreAudioHAL.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <iterator>
#include <set>

using namespace coreaudio;

namespace {

constexpr double kFallbackRate = 44100;
constexpr double kStandardRates[] = {32000, 44100, 48000, 88200, 96000, 176400, 192000};

PropertyAddress global(std::uint32_t selector) {
    return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}

PropertyAddress output(std::uint32_t selector,
                       std::uint32_t element = kAudioObjectPropertyElementMain) {
    return {selector, kAudioObjectPropertyScopeOutput, element};
}

template <typename T>
Status read(CoreAudioApi& api, AudioDeviceID device, const PropertyAddress& address, T& value) {
    std::uint32_t size = sizeof(T);
    return api.getPropertyData(device, address, size, &value);
}

template <typename T>
Status write(CoreAudioApi& api, AudioDeviceID device, const PropertyAddress& address,
             const T& value) {
    return api.setPropertyData(device, address, sizeof(T), &value);
}

std::optional<std::string> readString(CoreAudioApi& api, AudioDeviceID device,
                                      std::uint32_t selector) {
    std::optional<std::string> value;
    if (api.getStringProperty(device, global(selector), value) != kAudioHardwareNoError)
        return std::nullopt;
    return value;
}

void setNominalRate(CoreAudioApi& api, AudioDeviceID device, double rate) {
    write(api, device, global(kAudioDevicePropertyNominalSampleRate), rate);
}

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

DescriptionDictionary subdeviceDescription(const AudioOutputDevice& device,
                                           const std::string& masterUID,
                                           const std::map<std::string, double>& extraLatencyMs,
                                           double rate) {
    DescriptionDictionary description{{"uid", device.uid},
                                      {"drift", device.uid == masterUID ? 0 : 1}};
    if (auto entry = extraLatencyMs.find(device.uid); entry != extraLatencyMs.end())
        if (auto frames = latencyFrames(rate * entry->second / 1000.0))
            description.push_back({"latency-out", *frames});
    return description;
}

std::optional<AudioDeviceID> findMultiOutput(CoreAudioApi& api) {
    for (AudioDeviceID id : CoreAudioHAL::allDeviceIDs(api))
        if (readString(api, id, kAudioDevicePropertyDeviceUID) == CoreAudioHAL::kMultiOutputUID)
            return id;
    return std::nullopt;
}

} // namespace

namespace CoreAudioHAL {

std::vector<AudioDeviceID> allDeviceIDs(CoreAudioApi& api) {
    const auto address = global(kAudioHardwarePropertyDevices);
    std::uint32_t size = 0;
    if (api.getPropertyDataSize(kAudioObjectSystemObject, address, size) != kAudioHardwareNoError ||
        size < sizeof(AudioDeviceID))
        return {};
    std::vector<AudioDeviceID> ids(size / sizeof(AudioDeviceID), kAudioObjectUnknown);
    std::uint32_t filled = std::uint32_t(ids.size() * sizeof(AudioDeviceID));
    if (api.getPropertyData(kAudioObjectSystemObject, address, filled, ids.data()) !=
        kAudioHardwareNoError)
        return {};
    return ids; // entries the platform did not fill stay kAudioObjectUnknown
}

std::vector<AudioOutputDevice> outputDevices(CoreAudioApi& api) {
    std::vector<AudioOutputDevice> devices;
    for (AudioDeviceID id : allDeviceIDs(api)) {
        std::uint32_t streamsSize = 0;
        if (api.getPropertyDataSize(id, output(kAudioDevicePropertyStreams), streamsSize) !=
                kAudioHardwareNoError ||
            streamsSize == 0)
            continue;
        auto uid = readString(api, id, kAudioDevicePropertyDeviceUID);
        if (!uid || *uid == kMultiOutputUID)
            continue;
        auto name = readString(api, id, kAudioObjectPropertyName);
        devices.push_back({id, *uid, name.value_or("Unbekannt"), transportType(api, id)});
    }
    sortByName(devices);
    return devices;
}

AudioOutputDevice::Transport transportType(CoreAudioApi& api, AudioDeviceID device) {
    using T = AudioOutputDevice::Transport;
    std::uint32_t code = 0;
    if (read(api, device, global(kAudioDevicePropertyTransportType), code) != kAudioHardwareNoError)
        return T::other;
    switch (code) {
    case kAudioDeviceTransportTypeBluetooth:
    case kAudioDeviceTransportTypeBluetoothLE:
        return T::bluetooth;
    case kAudioDeviceTransportTypeUSB:
        return T::usb;
    case kAudioDeviceTransportTypeBuiltIn:
        return T::builtIn;
    case kAudioDeviceTransportTypeHDMI:
        return T::hdmi;
    case kAudioDeviceTransportTypeDisplayPort:
        return T::displayPort;
    case kAudioDeviceTransportTypeAirPlay:
        return T::airPlay;
    case kAudioDeviceTransportTypeThunderbolt:
        return T::thunderbolt;
    case kAudioDeviceTransportTypeAggregate:
        return T::aggregate;
    case kAudioDeviceTransportTypeVirtual:
        return T::virtual_;
    default:
        return T::other;
    }
}

std::optional<float> volume(CoreAudioApi& api, AudioDeviceID device) {
    float value = 0;
    const auto main = output(kAudioDevicePropertyVolumeScalar);
    if (api.hasProperty(device, main) && read(api, device, main, value) == kAudioHardwareNoError)
        return value;
    // Many devices have no master volume, only per-channel ones; the first channel speaks for all.
    const auto channel1 = output(kAudioDevicePropertyVolumeScalar, 1);
    if (!api.hasProperty(device, channel1) ||
        read(api, device, channel1, value) != kAudioHardwareNoError)
        return std::nullopt;
    return value;
}

bool setVolume(CoreAudioApi& api, float volume, AudioDeviceID device) {
    const float clamped = std::max(std::min(volume, 1.0f), 0.0f);
    const auto main = output(kAudioDevicePropertyVolumeScalar);
    bool settable = false;
    if (api.hasProperty(device, main) &&
        api.isPropertySettable(device, main, settable) == kAudioHardwareNoError && settable &&
        write(api, device, main, clamped) == kAudioHardwareNoError)
        return true;
    bool written = false;
    for (std::uint32_t channel : {1u, 2u}) {
        const auto address = output(kAudioDevicePropertyVolumeScalar, channel);
        if (api.hasProperty(device, address) &&
            write(api, device, address, clamped) == kAudioHardwareNoError)
            written = true;
    }
    return written;
}

std::vector<double> availableSampleRates(CoreAudioApi& api, AudioDeviceID device) {
    const auto address = output(kAudioDevicePropertyAvailableNominalSampleRates);
    std::uint32_t size = 0;
    if (api.getPropertyDataSize(device, address, size) != kAudioHardwareNoError ||
        size < sizeof(ValueRange))
        return {};
    std::vector<ValueRange> ranges(size / sizeof(ValueRange));
    std::uint32_t filled = std::uint32_t(ranges.size() * sizeof(ValueRange));
    if (api.getPropertyData(device, address, filled, ranges.data()) != kAudioHardwareNoError)
        return {};
    std::set<double> rates;
    for (const auto& range : ranges) {
        if (range.minimum == range.maximum) {
            rates.insert(range.minimum);
            continue;
        }
        // A continuous range stands for the usual rates inside it, not every integer.
        rates.insert(range.minimum);
        rates.insert(range.maximum);
        for (double rate : kStandardRates)
            if (rate >= range.minimum && rate <= range.maximum)
                rates.insert(rate);
    }
    return {rates.begin(), rates.end()};
}

double commonSampleRate(CoreAudioApi& api, const std::vector<AudioDeviceID>& devices) {
    std::optional<std::set<double>> common;
    for (AudioDeviceID device : devices) {
        const auto rates = availableSampleRates(api, device);
        if (rates.empty())
            continue; // unknown rates do not constrain the choice
        const std::set<double> set(rates.begin(), rates.end());
        if (!common) {
            common = set;
            continue;
        }
        std::set<double> both;
        std::set_intersection(common->begin(), common->end(), set.begin(), set.end(),
                              std::inserter(both, both.end()));
        common = std::move(both);
    }
    if (!common || common->empty())
        return kFallbackRate;
    return *common->rbegin();
}

std::optional<AudioDeviceID>
createMultiOutput(CoreAudioApi& api, const std::vector<AudioOutputDevice>& devices,
                  const std::string& masterUID,
                  const std::map<std::string, double>& extraLatencyMs) {
    if (devices.empty())
        return std::nullopt;
    destroyExistingMultiOutput(api);

    std::vector<AudioDeviceID> ids;
    for (const auto& device : devices)
        ids.push_back(device.id);
    const double rate = commonSampleRate(api, ids);
    for (AudioDeviceID id : ids)
        setNominalRate(api, id, rate);

    DescriptionArray subdevices;
    for (const auto& device : devices)
        subdevices.emplace_back(subdeviceDescription(device, masterUID, extraLatencyMs, rate));
    const DescriptionDictionary description{
        {"name", kMultiOutputName},
        {"uid", kMultiOutputUID},
        {"subdevices", std::move(subdevices)},
        {"master", masterUID},
        {"stacked", 1}, // every subdevice plays the same output
        {"private", 0}, // visible to the whole system, so it can become the default output
    };

    ObjectID created = kAudioObjectUnknown;
    const Status status = api.createAggregateDevice(description, created);
    if (status == kAudioHardwareNoError && created != kAudioObjectUnknown) {
        setNominalRate(api, created, rate);
        return created;
    }
    std::cout << "Brivello: AudioHardwareCreateAggregateDevice failed (" << status << ")\n"
              << std::flush;
    return std::nullopt;
}

std::vector<std::string> multiOutputMembers(CoreAudioApi& api) {
    const auto multiOutput = findMultiOutput(api);
    if (!multiOutput)
        return {};
    const auto address = global(kAudioAggregateDevicePropertyActiveSubDeviceList);
    std::uint32_t size = 0;
    if (api.getPropertyDataSize(*multiOutput, address, size) != kAudioHardwareNoError ||
        size < sizeof(AudioDeviceID))
        return {};
    std::vector<AudioDeviceID> ids(size / sizeof(AudioDeviceID), kAudioObjectUnknown);
    std::uint32_t filled = std::uint32_t(ids.size() * sizeof(AudioDeviceID));
    if (api.getPropertyData(*multiOutput, address, filled, ids.data()) != kAudioHardwareNoError)
        return {};
    ids.resize(filled / sizeof(AudioDeviceID));
    std::vector<std::string> uids;
    for (AudioDeviceID id : ids)
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

} // namespace CoreAudioHAL
