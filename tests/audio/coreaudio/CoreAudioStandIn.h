#pragma once

#include "CoreAudioApi.h"

#include <cstring>
#include <map>
#include <tuple>
#include <variant>
#include <vector>

// Core Audio's property world in memory: audio objects whose properties are addressed by
// selector, scope and element and answer with Core Audio's data sizes and statuses. Tests shape
// the devices, force statuses and read back every write, creation and removal. Listeners are
// called as Core Audio's main queue calls them: later, from the running Qt event loop, after the
// device list changed or a write changed a property's value; a device that goes takes its
// listeners with it.
class CoreAudioStandIn : public CoreAudioApi {
public:
    enum class Call { size, get, getString, set, settable, create, destroy, listen, unlisten };

    struct Volume {
        float value = 1;
        bool settable = true;
    };
    // A device as it is plugged in. An absent uid or name reads as a null string reference; an
    // absent transport, volume element, mute or rate list is a property the device lacks.
    struct Device {
        std::optional<std::string> uid{};
        std::optional<std::string> name{};
        std::optional<std::uint32_t> transport = coreaudio::kAudioDeviceTransportTypeBuiltIn;
        std::uint32_t outputStreams = 1;
        std::uint32_t inputStreams = 0;
        std::map<std::uint32_t, Volume> volumes{}; // by element, 0 being the main one
        std::optional<std::uint32_t> mute{};
        std::vector<coreaudio::ValueRange> rateRanges{};
    };
    struct Write {
        ObjectID object;
        PropertyAddress address;
        std::vector<std::byte> data;
    };

    CoreAudioStandIn();

    static PropertyAddress global(std::uint32_t selector);
    static PropertyAddress output(std::uint32_t selector, std::uint32_t element = 0);

    // Appends the device to the device list under a fresh id, or under `id` as Core Audio does
    // for a device that comes back, and notifies the device-list listeners.
    ObjectID plug(const Device& device, ObjectID id = coreaudio::kAudioObjectUnknown);
    void unplug(ObjectID device);
    const std::vector<ObjectID>& deviceList() const { return m_devices; }
    ObjectID defaultOutput() const;
    void setDefaultOutput(ObjectID device);
    void notifyDeviceListChanged();
    // Calls the listeners of this property, as Core Audio does after a change.
    void notify(ObjectID object, const PropertyAddress& address);
    std::size_t listenerCount(ObjectID object, const PropertyAddress& address) const;

    template <typename T>
    void setValue(ObjectID object, const PropertyAddress& address, const T& value,
                  bool settable = false) {
        m_objects[object][address] = {bytes(&value, sizeof(T)), sizeof(T), settable};
    }
    template <typename T>
    std::optional<T> value(ObjectID object, const PropertyAddress& address) const {
        auto it = m_objects.find(object);
        if (it == m_objects.end() || !it->second.contains(address))
            return std::nullopt;
        const auto* data = std::get_if<Bytes>(&it->second.at(address).value);
        if (!data || data->size() != sizeof(T))
            return std::nullopt;
        T result;
        std::memcpy(&result, data->data(), sizeof(T));
        return result;
    }

    // Forces `status` on every call of that kind, or only on one object (kAudioObjectUnknown:
    // any), or one object's property. The latest matching rule wins.
    void fail(Call call, Status status, ObjectID object = coreaudio::kAudioObjectUnknown,
              std::optional<PropertyAddress> address = std::nullopt) {
        m_failures.emplace_back(call, status, object, address);
    }
    void clearFailures() { m_failures.clear(); }
    // Forces `status` on the next call of that kind only.
    void failNext(Call call, Status status) { m_nextStatus[call] = status; }
    // Runs `action` at the start of the next call of that kind: a change between two calls.
    void beforeNextCall(Call call, const std::function<void()>& action) {
        m_pending[call] = action;
    }

    const std::vector<Write>& writes() const { return m_writes; }
    const std::vector<coreaudio::DescriptionDictionary>& creations() const { return m_creations; }
    const std::vector<ObjectID>& removals() const { return m_removals; }
    void clearRecords() {
        m_writes.clear();
        m_creations.clear();
        m_removals.clear();
    }

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

private:
    using Bytes = std::vector<std::byte>;
    using StringReference = std::optional<std::string>; // absent: a null CFStringRef
    struct Property {
        std::variant<Bytes, StringReference> value;
        std::size_t elementSize = 0; // below the data size: an array short buffers read partly
        bool settable = false;
    };

    static Bytes bytes(const void* data, std::size_t size);
    template <typename T>
    void setArray(ObjectID object, const PropertyAddress& address, const std::vector<T>& values) {
        m_objects[object][address] = {bytes(values.data(), values.size() * sizeof(T)), sizeof(T)};
    }
    // Each aggregate's active subdevices: those of its subdevice UIDs that are plugged in.
    void updateActiveSubdevices();
    // Runs a pending beforeNextCall action; a forced status, if any.
    std::optional<Status> enter(Call call, ObjectID object, const PropertyAddress* address);
    // Sets `property` when the call reaches it; else the status Core Audio gives.
    Status reach(Call call, ObjectID object, const PropertyAddress& address, Property*& property);

    std::map<ObjectID, std::map<PropertyAddress, Property>> m_objects;
    std::vector<ObjectID> m_devices;
    std::map<ObjectID, std::vector<std::string>> m_subdeviceUIDs; // by aggregate
    ObjectID m_nextID = 100;
    std::vector<std::tuple<Call, Status, ObjectID, std::optional<PropertyAddress>>> m_failures;
    std::map<Call, std::function<void()>> m_pending;
    std::map<Call, Status> m_nextStatus;
    std::vector<Write> m_writes;
    std::vector<coreaudio::DescriptionDictionary> m_creations;
    std::vector<ObjectID> m_removals;
    std::vector<std::tuple<ObjectID, PropertyAddress, PropertyListener>> m_listeners;
};

// A description as text, to compare whole descriptions readably.
std::string describe(const coreaudio::DescriptionValue& value);
