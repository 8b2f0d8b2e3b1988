#include "CoreAudioSystem.h"

#include "CoreAudioHAL.h"

using namespace coreaudio;

namespace {

constexpr PropertyAddress kDefaultOutputAddress{kAudioHardwarePropertyDefaultOutputDevice,
                                                kAudioObjectPropertyScopeGlobal,
                                                kAudioObjectPropertyElementMain};
constexpr PropertyAddress kDeviceListAddress{kAudioHardwarePropertyDevices,
                                             kAudioObjectPropertyScopeGlobal,
                                             kAudioObjectPropertyElementMain};
constexpr PropertyAddress kMuteAddress{kAudioDevicePropertyMute, kAudioObjectPropertyScopeOutput,
                                       kAudioObjectPropertyElementMain};
// What volume() reads (the main element, else the first channel), the second channel that
// setVolume() writes beside it, and the mute.
constexpr PropertyAddress kWatchedAddresses[] = {
    {kAudioDevicePropertyVolumeScalar, kAudioObjectPropertyScopeOutput, 0},
    {kAudioDevicePropertyVolumeScalar, kAudioObjectPropertyScopeOutput, 1},
    {kAudioDevicePropertyVolumeScalar, kAudioObjectPropertyScopeOutput, 2},
    kMuteAddress,
};

} // namespace

CoreAudioSystem::CoreAudioSystem(CoreAudioApi& api) : m_api(api) {}

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
    return CoreAudioHAL::createMultiOutput(m_api, devices, masterUID, extraLatencyMs);
}

std::vector<std::string> CoreAudioSystem::multiOutputMembers() {
    return CoreAudioHAL::multiOutputMembers(m_api);
}

void CoreAudioSystem::destroyExistingMultiOutput() {
    CoreAudioHAL::destroyExistingMultiOutput(m_api);
}

void CoreAudioSystem::removeDevice(AudioDeviceID device) {
    m_api.destroyAggregateDevice(device);
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
    return m_api.setPropertyData(kAudioObjectSystemObject, kDefaultOutputAddress, sizeof(device),
                                 &device);
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
    m_api.addPropertyListenerBlock(kAudioObjectSystemObject, kDeviceListAddress,
                                   [current = m_listener](std::uint32_t, const PropertyAddress*) {
                                       // A copy: the listener may replace itself while it runs.
                                       if (auto listener = *current)
                                           listener();
                                   });
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
            if (m_api.hasProperty(device.id, address))
                m_api.addPropertyListenerBlock(device.id, address,
                                               [current = m_volumeListener, id = device.id](
                                                   std::uint32_t, const PropertyAddress*) {
                                                   if (auto listener = *current)
                                                       listener(id);
                                               });
    }
}
