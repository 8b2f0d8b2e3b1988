#pragma once

#include "CoreAudioApi.h"

// The real Core Audio calls on macOS: each member forwards to the C function of the same shape.
class CoreAudioApiMac final : public CoreAudioApi {
public:
    Status getPropertyDataSize(ObjectID object, const PropertyAddress& address,
                               std::uint32_t& outDataSize) override;
    Status getPropertyData(ObjectID object, const PropertyAddress& address,
                           std::uint32_t& ioDataSize, void* outData) override;
    Status getStringProperty(ObjectID object, const PropertyAddress& address,
                             std::optional<std::string>& outValue) override;
    Status setPropertyData(ObjectID object, const PropertyAddress& address, std::uint32_t dataSize,
                           const void* data) override;
    bool hasProperty(ObjectID object, const PropertyAddress& address) override;
    Status isPropertySettable(ObjectID object, const PropertyAddress& address,
                              bool& outIsSettable) override;
    Status createAggregateDevice(const coreaudio::DescriptionDictionary& description,
                                 ObjectID& outDeviceID) override;
    Status destroyAggregateDevice(ObjectID device) override;
    Status addPropertyListenerBlock(ObjectID object, const PropertyAddress& address,
                                    PropertyListener listener) override;
};
