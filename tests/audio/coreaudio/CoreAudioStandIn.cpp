#include "CoreAudioStandIn.h"

#include <QCoreApplication>
#include <QMetaObject>

using namespace coreaudio;

namespace {

// CFStringRef is one pointer.
constexpr std::uint32_t kStringReferenceSize = sizeof(void*);

} // namespace

CoreAudioStandIn::CoreAudioStandIn() {
    m_objects[kAudioObjectSystemObject] = Object{};
    updateDeviceList();
    setValue(kAudioObjectSystemObject, global(kAudioHardwarePropertyDefaultOutputDevice),
             kAudioObjectUnknown, true);
}

CoreAudioStandIn::~CoreAudioStandIn() = default;

CoreAudioApi::PropertyAddress CoreAudioStandIn::global(std::uint32_t selector) {
    return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}

CoreAudioApi::PropertyAddress CoreAudioStandIn::output(std::uint32_t selector,
                                                       std::uint32_t element) {
    return {selector, kAudioObjectPropertyScopeOutput, element};
}

CoreAudioStandIn::Bytes CoreAudioStandIn::bytes(const void* data, std::size_t size) {
    const auto* first = static_cast<const std::byte*>(data);
    return Bytes(first, first + size);
}

CoreAudioApi::ObjectID CoreAudioStandIn::plug(const Device& device, ObjectID id) {
    if (id == kAudioObjectUnknown)
        id = m_nextID++;
    std::erase(m_deviceOrder, id);
    m_nextID = std::max(m_nextID, id + 1);
    Object& object = m_objects[id] = Object{};
    object.aggregate = device.transport == kAudioDeviceTransportTypeAggregate;
    auto streams = [this](std::uint32_t count) {
        std::vector<ObjectID> ids;
        for (std::uint32_t i = 0; i < count; ++i)
            ids.push_back(m_nextID++);
        return ids;
    };
    setArray(id, output(kAudioDevicePropertyStreams), streams(device.outputStreams));
    setArray(id, {kAudioDevicePropertyStreams, kAudioObjectPropertyScopeInput, 0},
             streams(device.inputStreams));
    setString(id, global(kAudioDevicePropertyDeviceUID), device.uid);
    setString(id, global(kAudioObjectPropertyName), device.name);
    if (device.transport)
        setValue(id, global(kAudioDevicePropertyTransportType), *device.transport);
    const std::pair<const std::optional<Volume>*, std::uint32_t> volumes[] = {
        {&device.mainVolume, 0}, {&device.channel1Volume, 1}, {&device.channel2Volume, 2}};
    for (const auto& [volume, element] : volumes)
        if (*volume)
            setValue(id, output(kAudioDevicePropertyVolumeScalar, element), (*volume)->value,
                     (*volume)->settable);
    if (device.mute)
        setValue(id, output(kAudioDevicePropertyMute), device.mute->value, device.mute->settable);
    if (!device.rateRanges.empty())
        setArray(id, output(kAudioDevicePropertyAvailableNominalSampleRates), device.rateRanges);
    setValue(id, global(kAudioDevicePropertyNominalSampleRate), device.nominalRate, true);
    m_deviceOrder.push_back(id);
    updateDeviceList();
    return id;
}

void CoreAudioStandIn::unplug(ObjectID device) {
    if (device != kAudioObjectSystemObject && m_objects.contains(device))
        remove(device);
}

void CoreAudioStandIn::remove(ObjectID device) {
    m_objects.erase(device);
    std::erase(m_deviceOrder, device);
    // Core Audio moves the default output elsewhere when its device goes away.
    if (defaultOutput() == device) {
        ObjectID next = kAudioObjectUnknown;
        for (ObjectID candidate : m_deviceOrder)
            if (auto* streams = rawValue(candidate, output(kAudioDevicePropertyStreams));
                streams && !streams->empty()) {
                next = candidate;
                break;
            }
        setDefaultOutput(next);
    }
    updateDeviceList();
}

bool CoreAudioStandIn::exists(ObjectID object) const {
    return m_objects.contains(object);
}

std::vector<CoreAudioApi::ObjectID> CoreAudioStandIn::deviceList() const {
    return m_deviceOrder;
}

CoreAudioApi::ObjectID CoreAudioStandIn::defaultOutput() const {
    return value<ObjectID>(kAudioObjectSystemObject,
                           global(kAudioHardwarePropertyDefaultOutputDevice))
        .value_or(kAudioObjectUnknown);
}

void CoreAudioStandIn::setDefaultOutput(ObjectID device) {
    auto& property = m_objects[kAudioObjectSystemObject]
                         .properties[global(kAudioHardwarePropertyDefaultOutputDevice)];
    property.value = bytes(&device, sizeof(device));
    property.elementSize = sizeof(device);
    notify(kAudioObjectSystemObject, global(kAudioHardwarePropertyDefaultOutputDevice));
}

void CoreAudioStandIn::updateDeviceList() {
    setArray(kAudioObjectSystemObject, global(kAudioHardwarePropertyDevices), m_deviceOrder);
    notify(kAudioObjectSystemObject, global(kAudioHardwarePropertyDevices));
}

void CoreAudioStandIn::setProperty(ObjectID object, const PropertyAddress& address,
                                   std::vector<std::byte> data, std::size_t elementSize,
                                   bool settable) {
    m_objects[object].properties[address] = Property{std::move(data), elementSize, settable};
}

void CoreAudioStandIn::setString(ObjectID object, const PropertyAddress& address,
                                 std::optional<std::string> value) {
    m_objects[object].properties[address] = Property{std::move(value), kStringReferenceSize, false};
}

void CoreAudioStandIn::removeProperty(ObjectID object, const PropertyAddress& address) {
    if (auto it = m_objects.find(object); it != m_objects.end())
        it->second.properties.erase(address);
}

const CoreAudioStandIn::Bytes* CoreAudioStandIn::rawValue(ObjectID object,
                                                          const PropertyAddress& address) const {
    auto it = m_objects.find(object);
    if (it == m_objects.end())
        return nullptr;
    auto property = it->second.properties.find(address);
    if (property == it->second.properties.end())
        return nullptr;
    return std::get_if<Bytes>(&property->second.value);
}

void CoreAudioStandIn::fail(Call call, Status status) {
    m_failures.push_back({call, std::nullopt, std::nullopt, status});
}

void CoreAudioStandIn::fail(Call call, ObjectID object, Status status) {
    m_failures.push_back({call, object, std::nullopt, status});
}

void CoreAudioStandIn::fail(Call call, ObjectID object, const PropertyAddress& address,
                            Status status) {
    m_failures.push_back({call, object, address, status});
}

void CoreAudioStandIn::clearFailures() {
    m_failures.clear();
}

void CoreAudioStandIn::beforeNextCall(Call call, std::function<void()> action) {
    m_pending[call] = std::move(action);
}

std::vector<CoreAudioStandIn::Write>
CoreAudioStandIn::writesTo(ObjectID object, const PropertyAddress& address) const {
    std::vector<Write> result;
    for (const auto& write : m_writes)
        if (write.object == object && write.address == address)
            result.push_back(write);
    return result;
}

void CoreAudioStandIn::clearRecords() {
    m_writes.clear();
    m_creations.clear();
    m_removals.clear();
}

void CoreAudioStandIn::notifyDeviceListChanged() {
    notify(kAudioObjectSystemObject, global(kAudioHardwarePropertyDevices));
}

std::size_t CoreAudioStandIn::listenerCount(ObjectID object, const PropertyAddress& address) const {
    return std::size_t(std::count_if(m_listeners.begin(), m_listeners.end(), [&](const auto& l) {
        return l.object == object && l.address == address;
    }));
}

void CoreAudioStandIn::notify(ObjectID object, const PropertyAddress& address) {
    std::vector<PropertyListener> callbacks;
    for (const auto& listener : m_listeners)
        if (listener.object == object && listener.address == address)
            callbacks.push_back(listener.callback);
    auto* app = QCoreApplication::instance();
    if (callbacks.empty() || !app)
        return;
    QMetaObject::invokeMethod(
        app,
        [alive = std::weak_ptr<int>(m_alive), callbacks = std::move(callbacks), address] {
            if (alive.expired())
                return;
            for (const auto& callback : callbacks)
                callback(1, &address);
        },
        Qt::QueuedConnection);
}

std::optional<CoreAudioApi::Status>
CoreAudioStandIn::enter(Call call, ObjectID object, const std::optional<PropertyAddress>& address) {
    if (auto pending = m_pending.find(call); pending != m_pending.end()) {
        auto action = std::move(pending->second);
        m_pending.erase(pending);
        action();
    }
    for (auto rule = m_failures.rbegin(); rule != m_failures.rend(); ++rule)
        if (rule->call == call && (!rule->object || *rule->object == object) &&
            (!rule->address || (address && *rule->address == *address)))
            return rule->status;
    return std::nullopt;
}

std::variant<CoreAudioStandIn::Property*, CoreAudioApi::Status>
CoreAudioStandIn::find(ObjectID object, const PropertyAddress& address) {
    auto it = m_objects.find(object);
    if (it == m_objects.end())
        return kAudioHardwareBadObjectError;
    auto property = it->second.properties.find(address);
    if (property == it->second.properties.end())
        return kAudioHardwareUnknownPropertyError;
    return &property->second;
}

CoreAudioApi::Status CoreAudioStandIn::getPropertyDataSize(ObjectID object,
                                                           const PropertyAddress& address,
                                                           std::uint32_t& outDataSize) {
    if (auto forced = enter(Call::getPropertyDataSize, object, address))
        return *forced;
    auto found = find(object, address);
    if (auto* status = std::get_if<Status>(&found))
        return *status;
    const Property& property = *std::get<Property*>(found);
    if (const auto* data = std::get_if<Bytes>(&property.value))
        outDataSize = std::uint32_t(data->size());
    else
        outDataSize = kStringReferenceSize;
    return kAudioHardwareNoError;
}

CoreAudioApi::Status CoreAudioStandIn::getPropertyData(ObjectID object,
                                                       const PropertyAddress& address,
                                                       std::uint32_t& ioDataSize, void* outData) {
    if (auto forced = enter(Call::getPropertyData, object, address))
        return *forced;
    auto found = find(object, address);
    if (auto* status = std::get_if<Status>(&found))
        return *status;
    const Property& property = *std::get<Property*>(found);
    const auto* data = std::get_if<Bytes>(&property.value);
    if (!data)
        return kAudioHardwareIllegalOperationError; // strings are read through getStringProperty
    std::size_t size = data->size();
    if (ioDataSize < size) {
        // Arrays fill as many whole entries as fit; a single value needs its full size.
        if (property.elementSize >= size)
            return kAudioHardwareBadPropertySizeError;
        size = ioDataSize / property.elementSize * property.elementSize;
    }
    std::memcpy(outData, data->data(), size);
    ioDataSize = std::uint32_t(size);
    return kAudioHardwareNoError;
}

CoreAudioApi::Status CoreAudioStandIn::getStringProperty(ObjectID object,
                                                         const PropertyAddress& address,
                                                         std::optional<std::string>& outValue) {
    if (auto forced = enter(Call::getStringProperty, object, address))
        return *forced;
    auto found = find(object, address);
    if (auto* status = std::get_if<Status>(&found))
        return *status;
    const auto* text = std::get_if<StringReference>(&std::get<Property*>(found)->value);
    if (!text)
        return kAudioHardwareBadPropertySizeError;
    outValue = *text;
    return kAudioHardwareNoError;
}

CoreAudioApi::Status CoreAudioStandIn::setPropertyData(ObjectID object,
                                                       const PropertyAddress& address,
                                                       std::uint32_t dataSize, const void* data) {
    Write& write = m_writes.emplace_back(Write{object, address, bytes(data, dataSize), 0});
    auto status = [&]() -> Status {
        if (auto forced = enter(Call::setPropertyData, object, address))
            return *forced;
        auto found = find(object, address);
        if (auto* status = std::get_if<Status>(&found))
            return *status;
        Property& property = *std::get<Property*>(found);
        auto* current = std::get_if<Bytes>(&property.value);
        if (!property.settable || !current)
            return kAudioHardwareUnsupportedOperationError;
        if (dataSize != current->size())
            return kAudioHardwareBadPropertySizeError;
        if (object == kAudioObjectSystemObject &&
            address == global(kAudioHardwarePropertyDefaultOutputDevice)) {
            ObjectID device = 0;
            std::memcpy(&device, data, sizeof(device));
            if (device == kAudioObjectSystemObject || !m_objects.contains(device))
                return kAudioHardwareBadDeviceError;
        }
        *current = bytes(data, dataSize);
        return kAudioHardwareNoError;
    }();
    write.status = status;
    if (status == kAudioHardwareNoError)
        notify(object, address);
    return status;
}

bool CoreAudioStandIn::hasProperty(ObjectID object, const PropertyAddress& address) {
    return std::holds_alternative<Property*>(find(object, address));
}

CoreAudioApi::Status CoreAudioStandIn::isPropertySettable(ObjectID object,
                                                          const PropertyAddress& address,
                                                          bool& outIsSettable) {
    if (auto forced = enter(Call::isPropertySettable, object, address))
        return *forced;
    auto found = find(object, address);
    if (auto* status = std::get_if<Status>(&found))
        return *status;
    outIsSettable = std::get<Property*>(found)->settable;
    return kAudioHardwareNoError;
}

CoreAudioApi::Status
CoreAudioStandIn::createAggregateDevice(const DescriptionDictionary& description,
                                        ObjectID& outDeviceID) {
    m_creations.push_back(description);
    if (auto forced = enter(Call::createAggregateDevice, kAudioObjectUnknown))
        return *forced;
    const auto* uid = coreaudio::find(description, "uid");
    if (!uid || !std::holds_alternative<std::string>(uid->value))
        return kAudio_ParamError;
    const std::string& uidText = std::get<std::string>(uid->value);
    // Core Audio refuses a second device under a UID that is in use.
    for (ObjectID device : m_deviceOrder) {
        const auto& properties = m_objects.at(device).properties;
        auto existing = properties.find(global(kAudioDevicePropertyDeviceUID));
        if (existing != properties.end() &&
            existing->second.value == std::variant<Bytes, StringReference>(uidText))
            return kAudioHardwareIllegalOperationError;
    }
    Device device;
    device.uid = uidText;
    if (const auto* name = coreaudio::find(description, "name"))
        if (const auto* text = std::get_if<std::string>(&name->value))
            device.name = *text;
    device.transport = kAudioDeviceTransportTypeAggregate;
    outDeviceID = plug(device);
    return kAudioHardwareNoError;
}

CoreAudioApi::Status CoreAudioStandIn::destroyAggregateDevice(ObjectID device) {
    m_removals.push_back(device);
    if (auto forced = enter(Call::destroyAggregateDevice, device))
        return *forced;
    auto it = m_objects.find(device);
    if (it == m_objects.end() || device == kAudioObjectSystemObject)
        return kAudioHardwareBadObjectError;
    if (!it->second.aggregate)
        return kAudioHardwareIllegalOperationError;
    remove(device);
    return kAudioHardwareNoError;
}

CoreAudioApi::Status CoreAudioStandIn::addPropertyListenerBlock(ObjectID object,
                                                                const PropertyAddress& address,
                                                                PropertyListener listener) {
    if (auto forced = enter(Call::addPropertyListenerBlock, object, address))
        return *forced;
    if (!m_objects.contains(object))
        return kAudioHardwareBadObjectError;
    m_listeners.push_back({object, address, std::move(listener)});
    return kAudioHardwareNoError;
}
