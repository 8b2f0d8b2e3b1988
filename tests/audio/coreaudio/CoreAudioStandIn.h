#pragma once

#include "CoreAudioApi.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

// Core Audio's property world, in memory: audio objects whose properties are addressed by
// selector, scope and element and answer with Core Audio's sizes and statuses. Tests shape the
// devices, force statuses, and read back every write, creation and removal. Property-listener
// calls arrive the way Core Audio delivers them on the main queue: later, through the Qt event
// loop of the running QCoreApplication (none is delivered without one).
class CoreAudioStandIn : public CoreAudioApi {
public:
    enum class Call {
        getPropertyDataSize,
        getPropertyData,
        getStringProperty,
        setPropertyData,
        isPropertySettable,
        createAggregateDevice,
        destroyAggregateDevice,
        addPropertyListenerBlock,
    };

    struct Volume {
        float value = 1;
        bool settable = true;
    };
    struct Mute {
        std::uint32_t value = 0; // 0: not muted
        bool settable = true;
    };
    // A device as it is plugged in. An absent uid or name is read as a null string reference; an
    // absent transport or volume is a property the device lacks.
    struct Device {
        std::optional<std::string> uid{};
        std::optional<std::string> name{};
        std::optional<std::uint32_t> transport = coreaudio::kAudioDeviceTransportTypeBuiltIn;
        std::uint32_t outputStreams = 1;
        std::uint32_t inputStreams = 0;
        std::optional<Volume> mainVolume{};
        std::optional<Volume> channel1Volume{};
        std::optional<Volume> channel2Volume{};
        std::optional<Mute> mute{};
        std::vector<coreaudio::ValueRange> rateRanges{}; // empty: the device lacks the rate list
        double nominalRate = 44100;
    };

    // One AudioObjectSetPropertyData call, whatever its status.
    struct Write {
        ObjectID object = 0;
        PropertyAddress address;
        std::vector<std::byte> data;
        Status status = 0;

        template <typename T> T as() const {
            T value{};
            std::memcpy(&value, data.data(), std::min(sizeof(T), data.size()));
            return value;
        }
    };

    CoreAudioStandIn();
    ~CoreAudioStandIn() override;
    CoreAudioStandIn(const CoreAudioStandIn&) = delete;
    CoreAudioStandIn& operator=(const CoreAudioStandIn&) = delete;

    static PropertyAddress global(std::uint32_t selector);
    static PropertyAddress output(std::uint32_t selector, std::uint32_t element = 0);

    // Adds the device to the end of the system's device list and notifies the device-list
    // listeners. Under a fresh id, or under `id` to bring a device back as Core Audio sometimes
    // does (a device present under that id is replaced).
    ObjectID plug(const Device& device, ObjectID id = coreaudio::kAudioObjectUnknown);
    // Takes the device away (list, properties, default output) and notifies the listeners.
    void unplug(ObjectID device);
    bool exists(ObjectID object) const;
    std::vector<ObjectID> deviceList() const;
    ObjectID defaultOutput() const;
    void setDefaultOutput(ObjectID device);

    // Raw property editing, for shapes the Device record does not cover. `elementSize` below the
    // data size makes the property an array that short buffers read partly.
    void setProperty(ObjectID object, const PropertyAddress& address, std::vector<std::byte> data,
                     std::size_t elementSize, bool settable);
    template <typename T>
    void setValue(ObjectID object, const PropertyAddress& address, const T& value,
                  bool settable = false) {
        setProperty(object, address, bytes(&value, sizeof(T)), sizeof(T), settable);
    }
    template <typename T>
    void setArray(ObjectID object, const PropertyAddress& address, const std::vector<T>& values,
                  bool settable = false) {
        setProperty(object, address, bytes(values.data(), values.size() * sizeof(T)), sizeof(T),
                    settable);
    }
    void setString(ObjectID object, const PropertyAddress& address,
                   std::optional<std::string> value);
    void removeProperty(ObjectID object, const PropertyAddress& address);
    template <typename T>
    std::optional<T> value(ObjectID object, const PropertyAddress& address) const {
        const auto* data = rawValue(object, address);
        if (!data || data->size() != sizeof(T))
            return std::nullopt;
        T result;
        std::memcpy(&result, data->data(), sizeof(T));
        return result;
    }

    // Forces `status` on every call of that kind, or only on one object, or one object's
    // property. The latest matching rule wins. A forced 0 on createAggregateDevice reports
    // success without creating anything.
    void fail(Call call, Status status);
    void fail(Call call, ObjectID object, Status status);
    void fail(Call call, ObjectID object, const PropertyAddress& address, Status status);
    void clearFailures();
    // Runs `action` once, at the start of the next call of that kind: for changes that happen
    // between two calls of an algorithm.
    void beforeNextCall(Call call, std::function<void()> action);

    const std::vector<Write>& writes() const { return m_writes; }
    std::vector<Write> writesTo(ObjectID object, const PropertyAddress& address) const;
    const std::vector<coreaudio::DescriptionDictionary>& creations() const { return m_creations; }
    const std::vector<ObjectID>& removals() const { return m_removals; }
    void clearRecords();

    // Posts a device-list change to the listeners, as Core Audio does after a device change.
    void notifyDeviceListChanged();
    std::size_t listenerCount(ObjectID object, const PropertyAddress& address) const;

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

private:
    using Bytes = std::vector<std::byte>;
    using StringReference = std::optional<std::string>; // absent: a null CFStringRef
    struct Property {
        std::variant<Bytes, StringReference> value;
        std::size_t elementSize = 0;
        bool settable = false;
    };
    struct Object {
        std::map<PropertyAddress, Property> properties;
        bool aggregate = false;
    };
    struct Failure {
        Call call;
        std::optional<ObjectID> object;
        std::optional<PropertyAddress> address;
        Status status;
    };
    struct Listener {
        ObjectID object;
        PropertyAddress address;
        PropertyListener callback;
    };

    static Bytes bytes(const void* data, std::size_t size);
    const Bytes* rawValue(ObjectID object, const PropertyAddress& address) const;
    // Runs a pending beforeNextCall action and returns a forced status, if any.
    std::optional<Status> enter(Call call, ObjectID object,
                                const std::optional<PropertyAddress>& address = std::nullopt);
    // The property, or the status Core Audio gives when it cannot be reached.
    std::variant<Property*, Status> find(ObjectID object, const PropertyAddress& address);
    void updateDeviceList();
    void remove(ObjectID device);
    void notify(ObjectID object, const PropertyAddress& address);

    std::map<ObjectID, Object> m_objects;
    std::vector<ObjectID> m_deviceOrder;
    ObjectID m_nextID = 100;
    std::vector<Failure> m_failures;
    std::map<Call, std::function<void()>> m_pending;
    std::vector<Write> m_writes;
    std::vector<coreaudio::DescriptionDictionary> m_creations;
    std::vector<ObjectID> m_removals;
    std::vector<Listener> m_listeners;
    // Queued deliveries check this so they never reach a stand-in that is gone.
    std::shared_ptr<int> m_alive = std::make_shared<int>(0);
};
