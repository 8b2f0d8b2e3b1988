#pragma once

#include "AudioSystem.h"
#include "CoreAudioApi.h"

#include <functional>
#include <memory>
#include <set>

// The controller's view of Core Audio: the device queries and the multi-output device of
// CoreAudioHAL, plus the default output, mute, and the device-list and volume listeners.
class CoreAudioSystem : public AudioSystem {
public:
    // `api` must outlive this object.
    explicit CoreAudioSystem(CoreAudioApi& api);
    ~CoreAudioSystem() override;

    std::vector<AudioOutputDevice> outputDevices() override;
    std::optional<float> volume(AudioDeviceID device) override;
    bool setVolume(float volume, AudioDeviceID device) override;
    double commonSampleRate(const std::vector<AudioDeviceID>& devices) override;
    std::optional<AudioDeviceID>
    createMultiOutput(const std::vector<AudioOutputDevice>& devices, const std::string& masterUID,
                      const std::map<std::string, double>& extraLatencyMs) override;
    std::vector<std::string> multiOutputMembers() override;
    void destroyExistingMultiOutput() override;
    void removeDevice(AudioDeviceID device) override;
    AudioDeviceID defaultOutputDevice() override;
    std::int32_t setDefaultOutputDevice(AudioDeviceID device) override;
    void unmute(AudioDeviceID device) override;
    void setDeviceListListener(std::function<void()> listener) override;
    void setVolumeListener(std::function<void(AudioDeviceID)> listener) override;

private:
    // Listens to the volume and mute of every listed device, afresh on each listing: a device
    // that went away took its listeners with it, even if it is back under the same id.
    void watchVolumes(const std::vector<AudioOutputDevice>& devices);

    CoreAudioApi& m_api;
    // Core Audio keeps the registered block for the life of the process; the block reaches the
    // current listener through this, so replacing or dropping the listener needs no
    // re-registration and a late notification after our end finds nothing to call.
    std::shared_ptr<std::function<void()>> m_listener = std::make_shared<std::function<void()>>();
    bool m_listenerRegistered = false;
    std::shared_ptr<std::function<void(AudioDeviceID)>> m_volumeListener =
        std::make_shared<std::function<void(AudioDeviceID)>>();
    std::set<AudioDeviceID> m_watched;
};
