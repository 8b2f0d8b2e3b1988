#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace coreaudio {

// The keys of an aggregate device's description (AudioHardware.h's kAudioAggregateDevice…Key and
// kAudioSubDevice…Key); the macOS build checks them against Apple's.
constexpr const char* kAggregateNameKey = "name";
constexpr const char* kAggregateUIDKey = "uid";
constexpr const char* kAggregateSubDeviceListKey = "subdevices";
constexpr const char* kAggregateMainSubDeviceKey = "master";
constexpr const char* kAggregateIsStackedKey = "stacked";
constexpr const char* kAggregateIsPrivateKey = "private";
constexpr const char* kSubDeviceUIDKey = "uid";
constexpr const char* kSubDeviceDriftCompensationKey = "drift";
constexpr const char* kSubDeviceExtraOutputLatencyKey = "latency-out";

struct DescriptionValue;
struct DescriptionEntry;

using DescriptionArray = std::vector<DescriptionValue>;
// Keeps the order in which the entries were built, so a description can be compared as a whole.
using DescriptionDictionary = std::vector<DescriptionEntry>;

// A property list as Core Audio takes it for an aggregate device: strings, integers, arrays and
// dictionaries with string keys. The macOS side turns it into CFString, CFNumber, CFArray and
// CFDictionary objects.
struct DescriptionValue {
    std::variant<std::string, std::int64_t, DescriptionArray, DescriptionDictionary> value;

    DescriptionValue(std::string text);
    DescriptionValue(const char* text);
    DescriptionValue(std::int64_t number);
    DescriptionValue(int number);
    DescriptionValue(DescriptionArray array);
    DescriptionValue(DescriptionDictionary dictionary);

    bool operator==(const DescriptionValue&) const = default;
};

struct DescriptionEntry {
    std::string key;
    DescriptionValue value;

    bool operator==(const DescriptionEntry&) const = default;
};

// Defined here, where every alternative is complete.
inline DescriptionValue::DescriptionValue(std::string text) : value(std::move(text)) {}
inline DescriptionValue::DescriptionValue(const char* text) : value(std::string(text)) {}
inline DescriptionValue::DescriptionValue(std::int64_t number) : value(number) {}
inline DescriptionValue::DescriptionValue(int number) : value(std::int64_t(number)) {}
inline DescriptionValue::DescriptionValue(DescriptionArray array) : value(std::move(array)) {}
inline DescriptionValue::DescriptionValue(DescriptionDictionary dictionary)
    : value(std::move(dictionary)) {}

// The value stored under `key`, or null.
inline const DescriptionValue* find(const DescriptionDictionary& dictionary,
                                    const std::string& key) {
    for (const auto& entry : dictionary)
        if (entry.key == key)
            return &entry.value;
    return nullptr;
}

} // namespace coreaudio
