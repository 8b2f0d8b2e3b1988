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

} // namespace

CoreAudioSystem::CoreAudioSystem(CoreAudioApi& api) : m_api(api) {}

CoreAudioSystem::~CoreAudioSystem() {
    *m_listener = nullptr;
}

std::vector<AudioOutputDevice> CoreAudioSystem::outputDevices() {
    return CoreAudioHAL::outputDevices(m_api);
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
    m_volumeListener = std::move(listener);
}
