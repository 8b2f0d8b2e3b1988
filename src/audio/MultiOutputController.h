#pragma once

#include "AudioOutputDevice.h"
#include "AudioSystem.h"
#include "DeviceSettings.h"

#include <QObject>
#include <QString>
#include <QUuid>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

struct Zone;

// Holds the device list, the user's selection, volumes and delays, and switches Brivello's
// multi-output device on and off. Lives on the main thread; every published member announces its
// changes through its signal so the interface can bind to it.
class MultiOutputController : public QObject {
    Q_OBJECT
public:
    // Removes a multi-output device left from an earlier run, reads the devices and starts
    // listening to device-list changes. `audio` must outlive the controller.
    explicit MultiOutputController(AudioSystem& audio, QObject* parent = nullptr);
    ~MultiOutputController() override;

    const std::vector<AudioOutputDevice>& devices() const { return m_devices; }
    const std::set<AudioDeviceID>& selected() const { return m_selected; }
    bool isActive() const { return m_isActive; }
    const std::map<AudioDeviceID, float>& volumes() const { return m_settings.volumes(); }
    const std::map<AudioDeviceID, double>& delaysMs() const { return m_settings.delaysMs(); }
    const std::optional<QString>& statusMessage() const { return m_statusMessage; }
    const std::optional<QUuid>& activeZoneID() const { return m_activeZoneID; }

    std::vector<AudioOutputDevice> selectedDevices() const;
    std::vector<std::string> selectedUIDs() const;
    bool canActivate() const;

    void refresh();
    void toggle(AudioDeviceID device);
    void activate();
    void deactivate();
    // A delay edit in progress: only the stored value changes. A delay outside 0…kMaxDelayMs, or
    // for a device that is not listed, is refused and changes nothing.
    bool setDelay(AudioDeviceID device, double milliseconds);
    // The end of a delay edit: while active the multi-output device is rebuilt with it.
    void commitDelays();
    void setVolume(float volume, const AudioOutputDevice& device);
    void activateZone(const Zone& zone);
    bool zoneIsAvailable(const Zone& zone) const;

    // Far beyond any device's lag (the slider stops at 400 ms) and well inside what every
    // platform accepts as an extra latency.
    static constexpr double kMaxDelayMs = 5000.0;

    // The application is ending: put the previous default output back and leave no
    // multi-output device behind.
    void teardown();

    // The extra latency per selected device's uid, in milliseconds; devices without one are left
    // out.
    std::map<std::string, double> latencyMs() const;

signals:
    void devicesChanged();
    void selectedChanged();
    void isActiveChanged();
    void volumesChanged();
    void delaysMsChanged();
    void statusMessageChanged();
    void activeZoneIDChanged();
    // The derived members follow `selected` and `isActive`; this one says when it flips.
    void canActivateChanged();

private:
    const AudioOutputDevice* listed(AudioDeviceID device) const;
    std::optional<AudioOutputDevice> masterDevice() const;
    // Replaces any multi-output device with one of the selected devices at these delays and makes
    // it the default output when `makeDefault`; false when it could not be created.
    bool createAggregate(const std::map<std::string, double>& delays, bool makeDefault);
    void rebuildAggregate();
    // Whether the default output is still Brivello's to hand back or take over: no output other
    // than its own and the one it replaced has been chosen since switching on.
    bool defaultLeftToBrivello();
    void switchOff(bool restoreDefault);
    void publishPlayingCount();
    void makeAudible(const AudioOutputDevice& device);
    void onVolumeChanged(AudioDeviceID device);
    void installDeviceChangeListener();
    void setSelected(std::set<AudioDeviceID> selected);
    void setActive(bool active);
    void setStatusMessage(std::optional<QString> message);
    void setActiveZoneID(std::optional<QUuid> zone);

    AudioSystem& m_audio;
    std::vector<AudioOutputDevice> m_devices;
    std::set<AudioDeviceID> m_selected;
    bool m_isActive = false;
    DeviceSettings m_settings;
    std::optional<QString> m_statusMessage;
    std::optional<QUuid> m_activeZoneID;
    std::optional<AudioDeviceID> m_aggregateID;
    std::optional<AudioDeviceID> m_previousDefaultOutput;
    // While active: the uids switched on together, and the delays the live device plays with.
    std::set<std::string> m_activeUIDs;
    std::map<std::string, double> m_appliedDelaysMs;
};
