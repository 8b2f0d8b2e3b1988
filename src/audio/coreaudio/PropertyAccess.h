#pragma once

#include "CoreAudioApi.h"

#include <optional>
#include <string>
#include <vector>

// Typed reads and writes of single properties, for the Core Audio algorithms.
namespace coreaudio {

inline PropertyAddress global(std::uint32_t selector) {
    return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}

inline PropertyAddress output(std::uint32_t selector,
                              std::uint32_t element = kAudioObjectPropertyElementMain) {
    return {selector, kAudioObjectPropertyScopeOutput, element};
}

template <typename T>
Status read(CoreAudioApi& api, ObjectID object, const PropertyAddress& address, T& value) {
    std::uint32_t size = sizeof(T);
    return api.getPropertyData(object, address, size, &value);
}

template <typename T>
std::optional<T> read(CoreAudioApi& api, ObjectID object, const PropertyAddress& address) {
    T value{};
    if (read(api, object, address, value) != kAudioHardwareNoError)
        return std::nullopt;
    return value;
}

template <typename T>
Status write(CoreAudioApi& api, ObjectID object, const PropertyAddress& address, const T& value) {
    return api.setPropertyData(object, address, sizeof(T), &value);
}

inline std::optional<std::string> readString(CoreAudioApi& api, ObjectID object,
                                             std::uint32_t selector) {
    std::optional<std::string> value;
    if (api.getStringProperty(object, global(selector), value) != kAudioHardwareNoError)
        return std::nullopt;
    return value;
}

// An array of object ids; empty when it cannot be read. Entries left unfilled are dropped.
inline std::vector<ObjectID> readIDs(CoreAudioApi& api, ObjectID object,
                                     const PropertyAddress& address) {
    std::uint32_t size = 0;
    if (api.getPropertyDataSize(object, address, size) != kAudioHardwareNoError ||
        size < sizeof(ObjectID))
        return {};
    std::vector<ObjectID> ids(size / sizeof(ObjectID), kAudioObjectUnknown);
    std::uint32_t filled = std::uint32_t(ids.size() * sizeof(ObjectID));
    if (api.getPropertyData(object, address, filled, ids.data()) != kAudioHardwareNoError)
        return {};
    ids.resize(filled / sizeof(ObjectID));
    return ids;
}

} // namespace coreaudio
