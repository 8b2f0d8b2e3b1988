#pragma once

#include "AudioSystem.h"
#include "CoreAudioApi.h"

#include <functional>
#include <map>
#include <memory>
#include <set>

class QSettings;

// The controller's view of Core Audio: the device queries and the multi-output device of
// CoreAudioHAL, plus the default output, mute, and the device-list and volume listeners.
// While the multi-output device is the default output, the UID of the default it replaced is kept
// in `settings`, so that after a crash the next start gives that device back.
class CoreAudioSystem : public AudioSystem {
public:
    // `api` and `settings` must outlive this object; without settings nothing outlives a crash.
    explicit CoreAudioSystem(CoreAudioApi& api, QSettings* settings = nullptr);
    ~CoreAudioSystem() override;

    std::vector<AudioOutputDevice> outputDevices() override;
    std::optional<float> volume(AudioDeviceID device) override;
    bool setVolume(float volume, AudioDeviceID device) override;
    double commonSampleRate(const std::vector<AudioDeviceID>& devices) override;
    std::optional<AudioDeviceID>
    createMultiOutput(const std::vector<AudioOutputDevice>& devices, const std::string& masterUID,
                      const std::map<std::string, double>& extraLatencyMs) override;
    bool setMultiOutputLatencies(const std::map<std::string, double>& extraLatencyMs) override;
    std::vector<std::string> multiOutputMembers() override;
    void destroyExistingMultiOutput() override;
    void removeDevice(AudioDeviceID device) override;
    AudioDeviceID defaultOutputDevice() override;
    std::int32_t setDefaultOutputDevice(AudioDeviceID device) override;
    void unmute(AudioDeviceID device) override;
    void setDeviceListListener(std::function<void()> listener) override;
    void setVolumeListener(std::function<void(AudioDeviceID)> listener) override;

    // Where the replaced default's UID is kept.
    static constexpr const char* kPreviousDefaultKey = "coreaudio/previousDefaultOutputUID";

private:
    // Puts back the rates the multi-output device's subdevices ran at and forgets the default
    // it replaced: the device is going.
    void multiOutputGoing();
    // Listens to the volume and mute of every listed device, afresh on each listing: a device
    // that went away took its listeners with it, even if it is back under the same id.
    void watchVolumes(const std::vector<AudioOutputDevice>& devices);

    CoreAudioApi& m_api;
    QSettings* m_settings;
    std::optional<AudioDeviceID> m_multiOutput;
    // The UID of the default output the multi-output device replaced.
    std::optional<std::string> m_replacedDefaultUID;
    // The rate each subdevice ran at before Brivello's device first changed it.
    std::map<AudioDeviceID, double> m_replacedRates;
    // Core Audio keeps the registered block for the life of the process; the block reaches the
    // current listener through this, so replacing or dropping the listener needs no
    // re-registration and a late notification after our end finds nothing to call.
    std::shared_ptr<std::function<void()>> m_listener = std::make_shared<std::function<void()>>();
    bool m_listenerRegistered = false;
    std::shared_ptr<std::function<void(AudioDeviceID)>> m_volumeListener =
        std::make_shared<std::function<void(AudioDeviceID)>>();
    std::set<AudioDeviceID> m_watched;
};
