#include "CoreAudioSystem.h"

#include "CoreAudioHAL.h"
#include "PropertyWait.h"

#include <QSettings>

#include <chrono>

using namespace coreaudio;

namespace {

using ListenerID = CoreAudioApi::ListenerID;

// The system switches its output over in well under this.
constexpr std::chrono::milliseconds kDefaultOutputLimit{1000};

constexpr PropertyAddress kDefaultOutputAddress{kAudioHardwarePropertyDefaultOutputDevice,
                                                kAudioObjectPropertyScopeGlobal,
                                                kAudioObjectPropertyElementMain};
constexpr PropertyAddress kDeviceListAddress{kAudioHardwarePropertyDevices,
                                             kAudioObjectPropertyScopeGlobal,
                                             kAudioObjectPropertyElementMain};
constexpr PropertyAddress kUIDAddress{kAudioDevicePropertyDeviceUID,
                                      kAudioObjectPropertyScopeGlobal,
                                      kAudioObjectPropertyElementMain};
constexpr PropertyAddress kMuteAddress{kAudioDevicePropertyMute, kAudioObjectPropertyScopeOutput,
                                       kAudioObjectPropertyElementMain};
// What volume() reads (the main element, else the virtual main volume, else the first channel)
// and the mute.
constexpr PropertyAddress kWatchedAddresses[] = {
    {kAudioDevicePropertyVolumeScalar, kAudioObjectPropertyScopeOutput, 0},
    {kAudioHardwareServiceDeviceProperty_VirtualMainVolume, kAudioObjectPropertyScopeOutput, 0},
    {kAudioDevicePropertyVolumeScalar, kAudioObjectPropertyScopeOutput, 1},
    kMuteAddress,
};

} // namespace

CoreAudioSystem::CoreAudioSystem(CoreAudioApi& api, QSettings* settings)
    : m_api(api), m_settings(settings) {}

CoreAudioSystem::~CoreAudioSystem() {
    *m_listener = nullptr;
    *m_volumeListener = nullptr;
    watchVolumes({});
}

std::vector<AudioOutputDevice> CoreAudioSystem::outputDevices() {
    auto devices = CoreAudioHAL::outputDevices(m_api);
    if (*m_volumeListener)
        watchVolumes(devices);
    return devices;
}

std::optional<float> CoreAudioSystem::volume(AudioDeviceID device) {
    return CoreAudioHAL::volume(m_api, device);
}

bool CoreAudioSystem::setVolume(float volume, AudioDeviceID device) {
    return CoreAudioHAL::setVolume(m_api, volume, device);
}

double CoreAudioSystem::commonSampleRate(const std::vector<AudioDeviceID>& devices) {
    return CoreAudioHAL::commonSampleRate(m_api, devices);
}

std::optional<AudioDeviceID>
CoreAudioSystem::createMultiOutput(const std::vector<AudioOutputDevice>& devices,
                                   const std::string& masterUID,
                                   const std::map<std::string, double>& extraLatencyMs) {
    const auto created = CoreAudioHAL::createMultiOutput(m_api, devices, masterUID, extraLatencyMs);
    if (!created)
        return std::nullopt;
    m_multiOutput = created->id;
    m_replacedRates.insert(created->replacedRates.begin(), created->replacedRates.end());
    return created->id;
}

bool CoreAudioSystem::setMultiOutputLatencies(const std::map<std::string, double>& extraLatencyMs) {
    return CoreAudioHAL::setExtraLatencies(m_api, extraLatencyMs);
}

std::vector<std::string> CoreAudioSystem::multiOutputMembers() {
    return CoreAudioHAL::multiOutputMembers(m_api);
}

void CoreAudioSystem::destroyExistingMultiOutput() {
    const auto leftover = CoreAudioHAL::deviceWithUID(m_api, CoreAudioHAL::kMultiOutputUID);
    const auto previousUID =
        m_settings ? m_settings->value(QLatin1String(kPreviousDefaultKey)) : QVariant();
    if (leftover && previousUID.isValid()) {
        // Left by a run that ended without switching off: the user's default comes back, if that
        // device is still there and no other has been chosen since.
        const auto previous =
            CoreAudioHAL::deviceWithUID(m_api, previousUID.toString().toStdString());
        const AudioDeviceID current = defaultOutputDevice();
        if (previous && (current == *leftover || current == kAudioObjectUnknown))
            setDefaultOutputDevice(*previous);
    }
    CoreAudioHAL::destroyExistingMultiOutput(m_api);
    multiOutputGoing();
    // Gone before anyone lists the devices again, and before the process ends.
    if (leftover)
        CoreAudioHAL::waitUntilMultiOutputGone(m_api);
}

void CoreAudioSystem::removeDevice(AudioDeviceID device) {
    // Still the default output (a rebuild): the sound goes back to the output it replaced before
    // the device goes, so the system never picks one of its own meanwhile.
    if (device == m_multiOutput && m_replacedDefaultUID && defaultOutputDevice() == device)
        if (auto previous = CoreAudioHAL::deviceWithUID(m_api, *m_replacedDefaultUID))
            setDefaultOutputDevice(*previous);
    m_api.destroyAggregateDevice(device);
    if (device == m_multiOutput)
        multiOutputGoing();
}

void CoreAudioSystem::multiOutputGoing() {
    m_multiOutput.reset();
    m_replacedDefaultUID.reset();
    // A subdevice that went away meanwhile refuses the write; it keeps its own rate anyway.
    CoreAudioHAL::setNominalRates(m_api, m_replacedRates);
    m_replacedRates.clear();
    if (m_settings)
        m_settings->remove(QLatin1String(kPreviousDefaultKey));
}

AudioDeviceID CoreAudioSystem::defaultOutputDevice() {
    AudioDeviceID device = kAudioObjectUnknown;
    std::uint32_t size = sizeof(device);
    if (m_api.getPropertyData(kAudioObjectSystemObject, kDefaultOutputAddress, size, &device) !=
        kAudioHardwareNoError)
        return kAudioObjectUnknown;
    return device;
}

std::int32_t CoreAudioSystem::setDefaultOutputDevice(AudioDeviceID device) {
    const AudioDeviceID current = defaultOutputDevice();
    if (m_multiOutput && device == *m_multiOutput && current != kAudioObjectUnknown &&
        current != device) {
        // Written before the switch: a crash right after it still finds what to give back.
        std::optional<std::string> uid;
        if (m_api.getStringProperty(current, kUIDAddress, uid) == kAudioHardwareNoError && uid &&
            *uid != CoreAudioHAL::kMultiOutputUID) {
            m_replacedDefaultUID = uid;
            if (m_settings) {
                m_settings->setValue(QLatin1String(kPreviousDefaultKey),
                                     QString::fromStdString(*uid));
                m_settings->sync();
            }
        }
    }
    if (current == device)
        return kAudioHardwareNoError; // an unchanged value is never announced
    const Status status = m_api.setPropertyData(kAudioObjectSystemObject, kDefaultOutputAddress,
                                                sizeof(device), &device);
    if (status != kAudioHardwareNoError)
        return status;
    // AudioHardware.h: "Changing the value of a property is always considered asynchronous." The
    // switch holds once the system announces it.
    const bool confirmed = waitUntil(
        m_api, {{kAudioObjectSystemObject, kDefaultOutputAddress}},
        [&] { return defaultOutputDevice() == device; }, kDefaultOutputLimit);
    return confirmed ? kAudioHardwareNoError : kAudioHardwareUnspecifiedError;
}

void CoreAudioSystem::unmute(AudioDeviceID device) {
    bool settable = false;
    if (!m_api.hasProperty(device, kMuteAddress) ||
        m_api.isPropertySettable(device, kMuteAddress, settable) != kAudioHardwareNoError ||
        !settable)
        return;
    const std::uint32_t unmuted = 0;
    m_api.setPropertyData(device, kMuteAddress, sizeof(unmuted), &unmuted);
}

void CoreAudioSystem::setDeviceListListener(std::function<void()> listener) {
    *m_listener = std::move(listener);
    if (m_listenerRegistered || !*m_listener)
        return;
    m_listenerRegistered = true;
    ListenerID added = 0;
    m_api.addPropertyListenerBlock(
        kAudioObjectSystemObject, kDeviceListAddress,
        [current = m_listener](std::uint32_t, const PropertyAddress*) {
            // A copy: the listener may replace itself while it runs.
            if (auto listener = *current)
                listener();
        },
        added);
}

void CoreAudioSystem::setVolumeListener(std::function<void(AudioDeviceID)> listener) {
    *m_volumeListener = std::move(listener);
    watchVolumes(*m_volumeListener ? CoreAudioHAL::outputDevices(m_api)
                                   : std::vector<AudioOutputDevice>{});
}

void CoreAudioSystem::watchVolumes(const std::vector<AudioOutputDevice>& devices) {
    for (AudioDeviceID device : m_watched)
        for (const auto& address : kWatchedAddresses)
            m_api.removePropertyListenerBlocks(device, address); // gone devices fail, harmlessly
    m_watched.clear();
    for (const auto& device : devices) {
        m_watched.insert(device.id);
        for (const auto& address : kWatchedAddresses)
            if (m_api.hasProperty(device.id, address)) {
                ListenerID added = 0;
                m_api.addPropertyListenerBlock(
                    device.id, address,
                    [current = m_volumeListener, id = device.id](std::uint32_t,
                                                                 const PropertyAddress*) {
                        if (auto listener = *current)
                            listener(id);
                    },
                    added);
            }
    }
}
