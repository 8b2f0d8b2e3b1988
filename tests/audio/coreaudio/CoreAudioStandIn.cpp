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
    if (device.mute)
        setValue(id, output(kAudioDevicePropertyMute), *device.mute, true);
    if (!device.rateRanges.empty())
        setArray(id, output(kAudioDevicePropertyAvailableNominalSampleRates), device.rateRanges);
    setValue(id, global(kAudioDevicePropertyNominalSampleRate), 44100.0, true);
    m_devices.push_back(id);
    setArray(kAudioObjectSystemObject, global(kAudioHardwarePropertyDevices), m_devices);
    updateActiveSubdevices();
    notifyDeviceListChanged();
    return id;
}

void CoreAudioStandIn::unplug(ObjectID device) {
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
                if (m_objects[device][global(kAudioDevicePropertyDeviceUID)].value ==
                    Property{StringReference(uid)}.value)
                    active.push_back(device);
        setArray(aggregate, global(kAudioAggregateDevicePropertyActiveSubDeviceList), active);
    }
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
    for (const auto& [listenedObject, listened, listener] : m_listeners)
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
    const auto written = bytes(data, dataSize);
    if (*current != written) {
        *current = written;
        notify(object, address);
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
    // Core Audio refuses a second device under a UID in use.
    for (ObjectID device : m_devices)
        if (m_objects[device][global(kAudioDevicePropertyDeviceUID)].value ==
            Property{uidText}.value)
            return kAudioHardwareIllegalOperationError;
    outDeviceID =
        plug({uidText, std::get<std::string>(name->value), kAudioDeviceTransportTypeAggregate});
    auto& subdevices = m_subdeviceUIDs[outDeviceID];
    if (const auto* list = coreaudio::find(description, "subdevices"))
        for (const auto& subdevice : std::get<DescriptionArray>(list->value))
            subdevices.push_back(std::get<std::string>(
                coreaudio::find(std::get<DescriptionDictionary>(subdevice.value), "uid")->value));
    updateActiveSubdevices();
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::destroyAggregateDevice(ObjectID device) {
    m_removals.push_back(device);
    if (auto forced = enter(Call::destroy, device, nullptr))
        return *forced;
    if (device == kAudioObjectSystemObject || !m_objects.contains(device))
        return kAudioHardwareBadObjectError;
    unplug(device);
    return kAudioHardwareNoError;
}

Status CoreAudioStandIn::addPropertyListenerBlock(ObjectID object, const PropertyAddress& address,
                                                  PropertyListener listener) {
    if (auto forced = enter(Call::listen, object, &address))
        return *forced;
    if (!m_objects.contains(object))
        return kAudioHardwareBadObjectError;
    m_listeners.emplace_back(object, address, std::move(listener));
    return kAudioHardwareNoError;
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
