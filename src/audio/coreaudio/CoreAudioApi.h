#pragma once

#include "AggregateDescription.h"
#include "CoreAudioProperties.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

// The Core Audio calls Brivello makes, one virtual per C function and in its shape, so that
// everything deciding something can run against a stand-in. No call passes a qualifier.
class CoreAudioApi {
public:
    using ObjectID = coreaudio::ObjectID;
    using Status = coreaudio::Status;
    using PropertyAddress = coreaudio::PropertyAddress;
    // The arguments of an AudioObjectPropertyListenerBlock.
    using PropertyListener =
        std::function<void(std::uint32_t addressCount, const PropertyAddress* addresses)>;

    virtual ~CoreAudioApi() = default;

    // AudioObjectGetPropertyDataSize.
    virtual Status getPropertyDataSize(ObjectID object, const PropertyAddress& address,
                                       std::uint32_t& outDataSize) = 0;
    // AudioObjectGetPropertyData: `ioDataSize` is the size of `outData` on entry and the number of
    // bytes filled on return.
    virtual Status getPropertyData(ObjectID object, const PropertyAddress& address,
                                   std::uint32_t& ioDataSize, void* outData) = 0;
    // AudioObjectGetPropertyData of a CFStringRef property, copied to UTF-8 and released; absent
    // when the platform hands back a null reference.
    virtual Status getStringProperty(ObjectID object, const PropertyAddress& address,
                                     std::optional<std::string>& outValue) = 0;
    // AudioObjectSetPropertyData.
    virtual Status setPropertyData(ObjectID object, const PropertyAddress& address,
                                   std::uint32_t dataSize, const void* data) = 0;
    // AudioObjectHasProperty.
    virtual bool hasProperty(ObjectID object, const PropertyAddress& address) = 0;
    // AudioObjectIsPropertySettable.
    virtual Status isPropertySettable(ObjectID object, const PropertyAddress& address,
                                      bool& outIsSettable) = 0;
    // AudioHardwareCreateAggregateDevice.
    virtual Status createAggregateDevice(const coreaudio::DescriptionDictionary& description,
                                         ObjectID& outDeviceID) = 0;
    // AudioHardwareDestroyAggregateDevice.
    virtual Status destroyAggregateDevice(ObjectID device) = 0;
    // AudioObjectAddPropertyListenerBlock with the main dispatch queue: `listener` runs on the
    // main thread, some time after the change.
    virtual Status addPropertyListenerBlock(ObjectID object, const PropertyAddress& address,
                                            PropertyListener listener) = 0;
    // AudioObjectRemovePropertyListenerBlock for every listener added to this object's property.
    virtual Status removePropertyListenerBlocks(ObjectID object,
                                                const PropertyAddress& address) = 0;
};
