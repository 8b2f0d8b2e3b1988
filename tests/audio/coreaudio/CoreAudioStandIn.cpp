#include "CoreAudioStandIn.h"

#include <QCoreApplication>

using namespace coreaudio;

namespace {

constexpr std::uint32_t kStringReferenceSize = sizeof(void*); // a CFStringRef

} // namespace

CoreAudioStandIn::CoreAudioStandIn() {
    setArray(kAudioObjectSystemObject, global(kAudioHardwarePropertyDevices), m_devices);
    setDefaultOutput(kAudioObjectUnknown);
}

PropertyAddress CoreAudioStandIn::global(std::uint32_t selector) {
    return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}

PropertyAddress CoreAudioStandIn::output(std::uint32_t selector, std::uint32_t element) {
    return {selector, kAudioObjectPropertyScopeOutput, element};
}

CoreAudioStandIn::Bytes CoreAudioStandIn::bytes(const void* data, std::size_t size) {
    const auto* first = static_cast<const std::byte*>(data);
    return Bytes(first, first + size);
}

ObjectID CoreAudioStandIn::plug(const Device& device, ObjectID id) {
    if (id == kAudioObjectUnknown)
        id = m_nextID++;
    auto& properties = m_objects[id] = {};
    // Only the number of streams is ever asked for.
    setArray(id, output(kAudioDevicePropertyStreams), std::vector<ObjectID>(device.outputStreams));
    setArray(id, {kAudioDevicePropertyStreams, kAudioObjectPropertyScopeInput, 0},
             std::vector<ObjectID>(device.inputStreams));
    properties[global(kAudioDevicePropertyDeviceUID)] = {device.uid, kStringReferenceSize};
    properties[global(kAudioObjectPropertyName)] = {device.name, kStringReferenceSize};
    if (device.transport)
        setValue(id, global(kAudioDevicePropertyTransportType), *device.transport);
    for (const auto& [element, volume] : device.volumes)
        setValue(id, output(kAudioDevicePropertyVolumeScalar, element), volume.value,
                 volume.settable);
    if (device.virtualMainVolume)
        setValue(id, output(kAudioHardwareServiceDeviceProperty_VirtualMainVolume),
                 device.virtualMainVolume->value, device.virtualMainVolume->settable);
    if (device.mute)
        setValue(id, output(kAudioDevicePropertyMute), *device.mute, true);
    // AudioHardwareBase.h lists both rate properties among those of the device as a whole.
    if (!device.rateRanges.empty())
        setArray(id, global(kAudioDevicePropertyAvailableNominalSampleRates), device.rateRanges);
    setValue(id, global(kAudioDevicePropertyNominalSampleRate), 44100.0, true);
    m_devices.push_back(id);
    setArray(kAudioObjectSystemObject, global(kAudioHardwarePropertyDevices), m_devices);
    updateActiveSubdevices();
    notifyDeviceListChanged();
    return id;
}

void CoreAudioStandIn::unplug(ObjectID device) {
    for (ObjectID owned : m_subdeviceObjects[device])
        m_objects.erase(owned);
    m_subdeviceObjects.erase(device);
    m_goingAway.erase(device);
    m_objects.erase(device);
    std::erase_if(m_listeners,
                  [device](const auto& entry) { return std::get<0>(entry) == device; });
    m_subdeviceUIDs.erase(device);
    std::erase(m_devices, device);
    setArray(kAudioObjectSystemObject, global(kAudioHardwarePropertyDevices), m_devices);
    updateActiveSubdevices();
    notifyDeviceListChanged();
}

void CoreAudioStandIn::updateActiveSubdevices() {
    for (const auto& [aggregate, uids] : m_subdeviceUIDs) {
        std::vector<ObjectID> active;
        for (const auto& uid : uids)
            for (ObjectID device : m_devices)
                if (hasUID(device, uid))
                    active.push_back(device);
        setArray(aggregate, global(kAudioAggregateDevicePropertyActiveSubDeviceList), active);
    }
}

bool CoreAudioStandIn::hasUID(ObjectID device, const std::string& uid) {
    return m_objects[device][global(kAudioDevicePropertyDeviceUID)].value ==
           Property{StringReference(uid)}.value;
}

std::vector<ObjectID> CoreAudioStandIn::subdeviceObjects(ObjectID aggregate) const {
    auto it = m_subdeviceObjects.find(aggregate);
    return it == m_subdeviceObjects.end() ? std::vector<ObjectID>{} : it->second;
}

void CoreAudioStandIn::later(std::function<void()> action) {
    QMetaObject::invokeMethod(&m_context, std::move(action), Qt::QueuedConnection);
}

ObjectID CoreAudioStandIn::defaultOutput() const {
    return value<ObjectID>(kAudioObjectSystemObject,
                           global(kAudioHardwarePropertyDefaultOutputDevice))
        .value_or(kAudioObjectUnknown);
}

void CoreAudioStandIn::setDefaultOutput(ObjectID device) {
    setValue(kAudioObjectSystemObject, global(kAudioHardwarePropertyDefaultOutputDevice), device,
             true);
}

void CoreAudioStandIn::notifyDeviceListChanged() {
    notify(kAudioObjectSystemObject, global(kAudioHardwarePropertyDevices));
}

void CoreAudioStandIn::notify(ObjectID object, const PropertyAddress& address) {
    auto* app = QCoreApplication::instance();
    for (const auto& [listenedObject, listened, listener, id] : m_listeners)
        if (app && listenedObject == object && listened == address)
            QMetaObject::invokeMethod(
                app, [listener = listener, address] { listener(1, &address); },
                Qt::QueuedConnection);
}

std::size_t CoreAudioStandIn::listenerCount(ObjectID object, const PropertyAddress& address) const {
    return std::count_if(m_listeners.begin(), m_listeners.end(), [&](const auto& entry) {
        return std::get<0>(entry) == object && std::get<1>(entry) == address;
    });
}

std::optional<Status> CoreAudioStandIn::enter(Call call, ObjectID object,
                                              const PropertyAddress* address) {
    if (auto pending = m_pending.extract(call))
        pending.mapped()();
    if (auto next = m_nextStatus.extract(call))
        return next.mapped();
    for (auto rule = m_failures.rbegin(); rule != m_failures.rend(); ++rule)
        if (auto& [kind, status, one, property] = *rule;
            kind == call && (!one || one == object) &&
            (!property || (address && *property == *address)))
            return status;
    return std::nullopt;
}

Status CoreAudioStandIn::reach(Call call, ObjectID object, const PropertyAddress& address,
                               Property*& property) {
    property = nullptr;
    if (auto forced = enter(call, object, &address))
        return *forced;
    auto it = m_objects.find(object);
    if (it == m_objects.end())
        return kAudioHardwareBadObjectError;
    auto found = it->second.find(address);
    if (found == it->second.end())
        return kAudioHardwareUnknownPropertyError;
    property = &found->second;
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::getPropertyDataSize(ObjectID object, const PropertyAddress& address,
                                             std::uint32_t& outDataSize) {
    Property* property = nullptr;
    if (Status status = reach(Call::size, object, address, property); !property)
        return status;
    const auto* data = std::get_if<Bytes>(&property->value);
    outDataSize = data ? std::uint32_t(data->size()) : kStringReferenceSize;
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::getPropertyData(ObjectID object, const PropertyAddress& address,
                                         std::uint32_t& ioDataSize, void* outData) {
    Property* property = nullptr;
    if (Status status = reach(Call::get, object, address, property); !property)
        return status;
    const auto& data = std::get<Bytes>(property->value); // strings go through getStringProperty
    std::size_t size = data.size();
    if (ioDataSize < size) {
        // Arrays fill as many whole entries as fit; a single value needs its full size.
        if (property->elementSize >= size)
            return kAudioHardwareBadPropertySizeError;
        size = ioDataSize / property->elementSize * property->elementSize;
    }
    std::memcpy(outData, data.data(), size);
    ioDataSize = std::uint32_t(size);
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::getStringProperty(ObjectID object, const PropertyAddress& address,
                                           std::optional<std::string>& outValue) {
    Property* property = nullptr;
    if (Status status = reach(Call::getString, object, address, property); !property)
        return status;
    outValue = std::get<StringReference>(property->value);
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::setPropertyData(ObjectID object, const PropertyAddress& address,
                                         std::uint32_t dataSize, const void* data) {
    m_writes.push_back({object, address, bytes(data, dataSize)});
    Property* property = nullptr;
    if (Status status = reach(Call::set, object, address, property); !property)
        return status;
    auto* current = std::get_if<Bytes>(&property->value);
    if (!property->settable || !current)
        return kAudioHardwareUnsupportedOperationError;
    if (dataSize != current->size())
        return kAudioHardwareBadPropertySizeError;
    for (const auto& [ignoring, ignored] : m_ignored)
        if ((!ignoring || ignoring == object) && ignored == address)
            return kAudioHardwareNoError;
    later([this, object, address, written = bytes(data, dataSize)] {
        // Taken, and applied now if the object is still there; only a change is announced.
        auto it = m_objects.find(object);
        if (it == m_objects.end() || !it->second.contains(address))
            return;
        auto& current = std::get<Bytes>(it->second.at(address).value);
        if (current != written) {
            current = written;
            notify(object, address);
        }
    });
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::translateUIDToDevice(const std::string& uid, ObjectID& outDevice) {
    if (auto forced = enter(Call::translate, kAudioObjectSystemObject, nullptr))
        return *forced;
    // "an error is not returned if the UID doesn't refer to any AudioDevices"
    outDevice = kAudioObjectUnknown;
    for (ObjectID device : m_devices)
        if (hasUID(device, uid)) {
            outDevice = device;
            break;
        }
    return kAudioHardwareNoError;
}

bool CoreAudioStandIn::hasProperty(ObjectID object, const PropertyAddress& address) {
    return m_objects.contains(object) && m_objects.at(object).contains(address);
}

Status CoreAudioStandIn::isPropertySettable(ObjectID object, const PropertyAddress& address,
                                            bool& outIsSettable) {
    Property* property = nullptr;
    if (Status status = reach(Call::settable, object, address, property); !property)
        return status;
    outIsSettable = property->settable;
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::createAggregateDevice(const DescriptionDictionary& description,
                                               ObjectID& outDeviceID) {
    m_creations.push_back(description);
    if (auto forced = enter(Call::create, kAudioObjectUnknown, nullptr))
        return *forced;
    const auto* uid = coreaudio::find(description, "uid");
    const auto* name = coreaudio::find(description, "name");
    if (!uid || !name)
        return kAudio_ParamError;
    const auto& uidText = std::get<std::string>(uid->value);
    // Core Audio refuses a second device under a UID in use, also by one on its way out.
    for (ObjectID device : m_devices)
        if (hasUID(device, uidText))
            return kAudioHardwareIllegalOperationError;
    outDeviceID =
        plug({uidText, std::get<std::string>(name->value), kAudioDeviceTransportTypeAggregate});
    // Each subdevice is an AudioSubDevice object of the aggregate's, with its extra latency.
    auto& subdevices = m_subdeviceUIDs[outDeviceID];
    auto& owned = m_subdeviceObjects[outDeviceID];
    if (const auto* list = coreaudio::find(description, "subdevices"))
        for (const auto& subdevice : std::get<DescriptionArray>(list->value)) {
            const auto& entry = std::get<DescriptionDictionary>(subdevice.value);
            subdevices.push_back(std::get<std::string>(coreaudio::find(entry, "uid")->value));
            const ObjectID object = m_nextID++;
            owned.push_back(object);
            m_objects[object][global(kAudioDevicePropertyDeviceUID)] = {subdevices.back(),
                                                                        kStringReferenceSize};
            setValue(object, global(kAudioObjectPropertyClass), kAudioSubDeviceClassID);
            const auto* latency = coreaudio::find(entry, "latency-out");
            setValue(object, global(kAudioSubDevicePropertyExtraLatency),
                     latency ? double(std::get<std::int64_t>(latency->value)) : 0.0, true);
        }
    setArray(outDeviceID, global(kAudioObjectPropertyOwnedObjects), owned);
    updateActiveSubdevices();
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::destroyAggregateDevice(ObjectID device) {
    m_removals.push_back(device);
    if (auto forced = enter(Call::destroy, device, nullptr))
        return *forced;
    if (device == kAudioObjectSystemObject || !m_objects.contains(device))
        return kAudioHardwareBadObjectError;
    if (m_goingAway.insert(device).second)
        later([this, device] {
            if (m_goingAway.contains(device))
                unplug(device);
        });
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::addPropertyListenerBlock(ObjectID object, const PropertyAddress& address,
                                                  PropertyListener listener,
                                                  ListenerID& outListener) {
    if (auto forced = enter(Call::listen, object, &address))
        return *forced;
    if (!m_objects.contains(object))
        return kAudioHardwareBadObjectError;
    outListener = m_nextListener++;
    m_listeners.emplace_back(object, address, std::move(listener), outListener);
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::removePropertyListenerBlock(ObjectID object,
                                                     const PropertyAddress& address,
                                                     ListenerID listener) {
    if (auto forced = enter(Call::unlisten, object, &address))
        return *forced;
    const auto removed = std::erase_if(m_listeners, [&](const auto& entry) {
        return std::get<0>(entry) == object && std::get<1>(entry) == address &&
               std::get<3>(entry) == listener;
    });
    return removed > 0 ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
}

std::string describe(const DescriptionValue& value) {
    if (const auto* text = std::get_if<std::string>(&value.value))
        return '"' + *text + '"';
    if (const auto* number = std::get_if<std::int64_t>(&value.value))
        return std::to_string(*number);
    std::string inner;
    const auto* array = std::get_if<DescriptionArray>(&value.value);
    if (array)
        for (const auto& element : *array)
            inner += (inner.empty() ? "" : ", ") + describe(element);
    else
        for (const auto& [key, entry] : std::get<DescriptionDictionary>(value.value))
            inner += (inner.empty() ? "" : ", ") + key + ": " + describe(entry);
    return array ? '[' + inner + ']' : '{' + inner + '}';
}

Status CoreAudioStandIn::removePropertyListenerBlocks(ObjectID object,
                                                      const PropertyAddress& address) {
    if (auto forced = enter(Call::unlisten, object, &address))
        return *forced;
    const auto removed = std::erase_if(m_listeners, [&](const auto& entry) {
        return std::get<0>(entry) == object && std::get<1>(entry) == address;
    });
    return removed > 0 ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
}
