#include "CoreAudioHAL.h"

#include "PropertyAccess.h"
#include "PropertyWait.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <set>

using namespace coreaudio;

namespace {

constexpr double kFallbackRate = 44100;
constexpr double kStandardRates[] = {32000, 44100, 48000, 88200, 96000, 176400, 192000};
// A device reconfigures its clock for a new rate; well above what that takes.
constexpr std::chrono::milliseconds kRateLimit{1500};

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
        const auto transport = transportType(api, id);
        if (transport == AudioOutputDevice::Transport::aggregate)
            continue; // nesting aggregates is not supported
        auto name = readString(api, id, kAudioObjectPropertyName);
        devices.push_back({id, *uid, name.value_or("Unbekannt"), transport});
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
    case kAudioDeviceTransportTypePCI:
        return T::pci;
    case kAudioDeviceTransportTypeAggregate:
        return T::aggregate;
    case kAudioDeviceTransportTypeVirtual:
        return T::virtual_;
    default:
        return T::other;
    }
}

std::optional<float> volume(CoreAudioApi& api, AudioDeviceID device) {
    // Many devices have no main volume, only per-channel ones: the virtual main volume stands for
    // them all, and where even that is missing the first channel does.
    for (const auto& address : {output(kAudioDevicePropertyVolumeScalar),
                                output(kAudioHardwareServiceDeviceProperty_VirtualMainVolume),
                                output(kAudioDevicePropertyVolumeScalar, 1)})
        if (api.hasProperty(device, address))
            if (auto value = read<float>(api, device, address))
                return value;
    return std::nullopt;
}

bool setVolume(CoreAudioApi& api, float volume, AudioDeviceID device) {
    const float clamped = std::max(std::min(volume, 1.0f), 0.0f);
    // AudioHardwareService.h: the virtual main volume "maintains the relative balance between all
    // the channels it affects", where one value written to each channel would lose it. Every
    // AudioHardwareService* function that reads or writes it is marked "no longer supported"
    // (deprecated since 10.11) while the selector itself is not, so the property is reached the
    // only way the 14.2 SDK leaves undeprecated: AudioObjectSetPropertyData, whose arguments are
    // those of AudioHardwareServiceSetPropertyData (object, address, size, data). The header's
    // older note that AHS object ids "cannot be used with the HAL" is the first thing to check on
    // a Mac (README).
    for (const auto& address : {output(kAudioDevicePropertyVolumeScalar),
                                output(kAudioHardwareServiceDeviceProperty_VirtualMainVolume)}) {
        bool settable = false;
        if (api.hasProperty(device, address) &&
            api.isPropertySettable(device, address, settable) == kAudioHardwareNoError && settable)
            return write(api, device, address, clamped) == kAudioHardwareNoError;
    }
    return false;
}

std::vector<double> availableSampleRates(CoreAudioApi& api, AudioDeviceID device) {
    // AudioHardwareBase.h lists kAudioDevicePropertyAvailableNominalSampleRates among the
    // properties of "the AudioDevice as a whole": it is read, like the nominal rate written, at
    // global scope.
    const auto address = global(kAudioDevicePropertyAvailableNominalSampleRates);
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

std::optional<double> nominalSampleRate(CoreAudioApi& api, AudioDeviceID device) {
    return read<double>(api, device, global(kAudioDevicePropertyNominalSampleRate));
}

std::map<AudioDeviceID, double> setNominalRates(CoreAudioApi& api,
                                                const std::map<AudioDeviceID, double>& rates) {
    std::map<AudioDeviceID, double> replaced;
    std::vector<WatchedProperty> watched;
    for (const auto& [device, rate] : rates) {
        const auto address = global(kAudioDevicePropertyNominalSampleRate);
        const auto current = nominalSampleRate(api, device);
        if (current == rate)
            continue; // an unchanged value is never announced
        if (write(api, device, address, rate) != kAudioHardwareNoError)
            continue;
        if (current)
            replaced[device] = *current;
        watched.emplace_back(device, address);
    }
    // A write is a request: the rate holds once the device says so.
    waitUntil(
        api, watched,
        [&] {
            return std::all_of(watched.begin(), watched.end(), [&](const auto& entry) {
                return nominalSampleRate(api, entry.first) == rates.at(entry.first);
            });
        },
        kRateLimit);
    return replaced;
}

std::optional<AudioDeviceID> deviceWithUID(CoreAudioApi& api, const std::string& uid) {
    ObjectID device = kAudioObjectUnknown;
    if (api.translateUIDToDevice(uid, device) != kAudioHardwareNoError ||
        device == kAudioObjectUnknown)
        return std::nullopt;
    return device;
}

} // namespace CoreAudioHAL
