#pragma once

#include "AppModel.h"
#include "AppearanceSetting.h"
#include "CarbonStandIn.h"
#include "CoreAudioStandIn.h"
#include "CoreAudioSystem.h"
#include "DeviceListModel.h"
#include "MultiOutputController.h"
#include "MultiOutputStatus.h"
#include "SystemColorScheme.h"
#include "ToneGenerator.h"
#include "ZoneListModel.h"

#include <QObject>
#include <QSettings>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

// The window's inputs over the in-memory Core Audio and Carbon: the application model with up to
// four typed devices, the models the views bind to, and zones and an appearance setting in a
// settings file of its own. QML tests and the screenshot program build the window from it and
// look at what the sound system, the hot-key service and the settings got.
class WindowFixture : public QObject {
    Q_OBJECT
    Q_PROPERTY(DeviceListModel* devices READ devices NOTIFY rebuilt)
    Q_PROPERTY(MultiOutputStatus* status READ status NOTIFY rebuilt)
    Q_PROPERTY(AppearanceSetting* appearance READ appearance NOTIFY rebuilt)
    Q_PROPERTY(ZoneListModel* zones READ zones NOTIFY rebuilt)
    Q_PROPERTY(ToneGenerator* tone READ tone NOTIFY rebuilt)
public:
    explicit WindowFixture(QObject* parent = nullptr);
    ~WindowFixture() override;

    DeviceListModel* devices() const { return m_devices.get(); }
    MultiOutputStatus* status() const { return m_status.get(); }
    AppearanceSetting* appearance() const { return m_appearance.get(); }
    ZoneListModel* zones() const { return m_zones.get(); }
    ToneGenerator* tone() const { return m_tone.get(); }

    // A fresh sound system with the first `count` of the four devices (Bluetooth speaker, USB
    // DAC, built-in speakers, TV), the built-in ones as default output, and fresh models.
    Q_INVOKABLE void reset(int count = 4);
    Q_INVOKABLE void unplugAll();
    // The UID of a device by its position in the window's list; "" past the end.
    Q_INVOKABLE QString uidAt(int row) const;
    // The times the platform was asked for new delays: a device built, or a subdevice's latency
    // set on the live one.
    Q_INVOKABLE int delayChanges() const;
    Q_INVOKABLE QString defaultOutputName() const;
    Q_INVOKABLE double storedDelay(int row) const;
    // A volume set while no slider moves, as the menu-bar panel or a hot key would.
    Q_INVOKABLE void changeVolume(int row, double volume);
    // How many tones the window's generator started, and whether one plays now.
    Q_INVOKABLE int tonesStarted() const { return m_toneOutput.started; }
    Q_INVOKABLE bool tonePlaying() const { return m_toneOutput.playing; }

    // A zone saved as an earlier run left it; `display` empty for none.
    Q_INVOKABLE void saveZone(const QString& name, const QStringList& uids, quint32 keyCode = 0,
                              quint32 modifiers = 0, const QString& display = {});
    // The zone list as stored, parsed: each zone's "name", "deviceUIDs" and "hotKey".
    Q_INVOKABLE QVariantList storedZones() const;
    // Another application holds the combination from now on.
    Q_INVOKABLE void holdElsewhere(quint32 keyCode, quint32 modifiers);
    // The combination pressed anywhere in the system; false when no hot key has it.
    Q_INVOKABLE bool pressHotKey(quint32 keyCode, quint32 modifiers);

signals:
    void rebuilt();

private:
    // Takes every tone in the format of a common output.
    struct SilentToneOutput : ToneOutput {
        std::optional<Format> format() override { return Format{48000, 2}; }
        std::optional<std::string> play(std::shared_ptr<const ToneBuffer>) override {
            ++started;
            playing = true;
            return std::nullopt;
        }
        void stop() override { playing = false; }
        int started = 0;
        bool playing = false;
    };

    QTemporaryDir m_folder;
    std::unique_ptr<QSettings> m_settings;
    std::unique_ptr<CoreAudioStandIn> m_audio;
    std::unique_ptr<CoreAudioSystem> m_system;
    CarbonStandIn* m_carbon = nullptr; // owned by the hot-key center
    std::unique_ptr<AppModel> m_app;
    MultiOutputController* m_controller = nullptr;
    std::unique_ptr<DeviceListModel> m_devices;
    std::unique_ptr<MultiOutputStatus> m_status;
    SystemColorScheme m_systemScheme;
    std::unique_ptr<AppearanceSetting> m_appearance;
    std::unique_ptr<ZoneListModel> m_zones;
    SilentToneOutput m_toneOutput;
    std::unique_ptr<ToneGenerator> m_tone;
};
