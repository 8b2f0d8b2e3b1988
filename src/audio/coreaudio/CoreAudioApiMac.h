#pragma once

#include "CoreAudioApi.h"

#include <map>
#include <utility>
#include <vector>

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
    Status removePropertyListenerBlocks(ObjectID object, const PropertyAddress& address) override;
    ~CoreAudioApiMac() override;

private:
    // The blocks handed to Core Audio, on the heap: removing one takes the very block added.
    std::map<std::pair<ObjectID, PropertyAddress>, std::vector<void*>> m_blocks;
};
