#include "MultiOutputController.h"

#include "Zone.h"

#include <QCoreApplication>
#include <QPointer>

#include <algorithm>
#include <iterator>

namespace {

constexpr float kInaudibleBelow = 0.05f;
constexpr float kAudibleLevel = 0.7f;

} // namespace

MultiOutputController::MultiOutputController(AudioSystem& audio, QObject* parent)
    : QObject(parent), m_audio(audio) {
    // A device left by a crashed run must be gone before anyone reads the device list.
    m_audio.destroyExistingMultiOutput();
    refresh();
    installDeviceChangeListener();
    if (auto* app = QCoreApplication::instance())
        connect(app, &QCoreApplication::aboutToQuit, this, &MultiOutputController::teardown);
}

MultiOutputController::~MultiOutputController() {
    m_audio.setDeviceListListener({});
    m_audio.setVolumeListener({});
}

void MultiOutputController::installDeviceChangeListener() {
    QPointer<MultiOutputController> self(this);
    m_audio.setDeviceListListener([self] {
        if (!self)
            return;
        // Never refresh inside the platform's callback: one refresh per notification, later.
        QMetaObject::invokeMethod(
            self.data(),
            [self] {
                if (self)
                    self->refresh();
            },
            Qt::QueuedConnection);
    });
    m_audio.setVolumeListener([self](AudioDeviceID device) {
        if (self)
            self->onVolumeChanged(device);
    });
}

std::vector<AudioOutputDevice> MultiOutputController::selectedDevices() const {
    std::vector<AudioOutputDevice> result;
    for (const auto& device : m_devices)
        if (m_selected.contains(device.id))
            result.push_back(device);
    return result;
}

std::vector<std::string> MultiOutputController::selectedUIDs() const {
    std::vector<std::string> result;
    for (const auto& device : selectedDevices())
        result.push_back(device.uid);
    return result;
}

bool MultiOutputController::canActivate() const {
    return !m_selected.empty() && !m_isActive;
}

void MultiOutputController::refresh() {
    const bool couldActivate = canActivate();
    m_devices = m_audio.outputDevices();

    // A vanished device is not selected. While active, a device switched on with the others
    // rejoins when it returns, whatever id it comes back under: it plays again.
    std::set<AudioDeviceID> selected;
    for (const auto& device : m_devices)
        if (m_isActive ? m_activeUIDs.contains(device.uid) : m_selected.contains(device.id))
            selected.insert(device.id);
    const bool selectionChanged = selected != m_selected;
    std::set<AudioDeviceID> rejoined;
    std::set_difference(selected.begin(), selected.end(), m_selected.begin(), m_selected.end(),
                        std::inserter(rejoined, rejoined.end()));
    m_selected = std::move(selected);

    bool volumesUpdated = false;
    bool delaysUpdated = false;
    for (const auto& device : m_devices) {
        // The volume lives on the device and may have changed while it was away or unlisted;
        // the delay is the user's and comes back with the device.
        volumesUpdated = m_settings.takeVolume(device, m_audio.volume(device.id)) || volumesUpdated;
        delaysUpdated = m_settings.adoptDelay(device) || delaysUpdated;
    }

    // Announced only once all of it holds, so whoever listens sees every listed device with
    // its volume and delay and no vanished device selected.
    emit devicesChanged();
    if (selectionChanged)
        emit selectedChanged();
    if (couldActivate != canActivate())
        emit canActivateChanged();
    if (volumesUpdated)
        emit volumesChanged();
    if (delaysUpdated)
        emit delaysMsChanged();

    // A returning device the live multi-output device no longer holds (it was rebuilt while the
    // device was away) is put back in.
    if (m_isActive && !rejoined.empty()) {
        const auto members = m_audio.multiOutputMembers();
        const bool missing = std::any_of(rejoined.begin(), rejoined.end(), [&](AudioDeviceID id) {
            return std::find(members.begin(), members.end(), listed(id)->uid) == members.end();
        });
        if (missing)
            rebuildAggregate();
    }
}

void MultiOutputController::toggle(AudioDeviceID device) {
    if (m_isActive)
        return; // the selection is locked while the multi-output device plays
    auto selected = m_selected;
    if (!selected.erase(device))
        selected.insert(device);
    setSelected(std::move(selected));
}

const AudioOutputDevice* MultiOutputController::listed(AudioDeviceID device) const {
    auto it = std::find_if(m_devices.begin(), m_devices.end(),
                           [device](const AudioOutputDevice& d) { return d.id == device; });
    return it == m_devices.end() ? nullptr : &*it;
}

std::optional<AudioOutputDevice> MultiOutputController::masterDevice() const {
    const auto devices = selectedDevices();
    if (devices.empty())
        return std::nullopt;
    // Bluetooth clocks are the least steady; any wired device makes a better master.
    auto it = std::find_if(devices.begin(), devices.end(), [](const AudioOutputDevice& d) {
        return d.transport != AudioOutputDevice::Transport::bluetooth;
    });
    return it != devices.end() ? *it : devices.front();
}

std::map<std::string, double> MultiOutputController::latencyMs() const {
    std::map<std::string, double> delays;
    for (const auto& device : selectedDevices()) {
        auto delay = delaysMs().find(device.id);
        if (delay != delaysMs().end() && delay->second > 0)
            delays[device.uid] = delay->second;
    }
    return delays;
}

void MultiOutputController::activate() {
    const auto devices = selectedDevices();
    const auto master = masterDevice();
    if (!master)
        return;

    m_previousDefaultOutput = m_audio.defaultOutputDevice();
    const auto delays = latencyMs();
    const auto created = m_audio.createMultiOutput(devices, master->uid, delays);
    if (!created) {
        setStatusMessage(QString::fromUtf8("Multi-Output-Gerät konnte nicht erstellt werden."));
        return;
    }
    if (m_audio.setDefaultOutputDevice(*created) != 0) {
        m_audio.removeDevice(*created);
        setStatusMessage(QString::fromUtf8("Audioausgabe konnte nicht umgeleitet werden."));
        return;
    }
    m_aggregateID = *created;
    m_appliedDelaysMs = delays;
    m_activeUIDs.clear();
    for (const auto& device : devices)
        m_activeUIDs.insert(device.uid);
    setActive(true);
    for (const auto& device : devices)
        makeAudible(device);
    publishPlayingCount();
}

void MultiOutputController::publishPlayingCount() {
    setStatusMessage(QString::fromUtf8("Aktiv – Ton spielt auf %1 Geräten.")
                         .arg(static_cast<qlonglong>(m_audio.multiOutputMembers().size())));
}

bool MultiOutputController::defaultLeftToBrivello() {
    if (!m_aggregateID)
        return false;
    const AudioDeviceID current = m_audio.defaultOutputDevice();
    // Unreadable: the sound must not be left on a device about to go. Still the one Brivello
    // replaced: no other was chosen, the server just applies Brivello's a moment late (PipeWire's
    // session manager does).
    return current == 0 || current == *m_aggregateID ||
           (m_previousDefaultOutput && current == *m_previousDefaultOutput);
}

void MultiOutputController::deactivate() {
    // A default the user picked meanwhile is theirs; only Brivello's own is handed back.
    switchOff(defaultLeftToBrivello());
}

void MultiOutputController::switchOff(bool restoreDefault) {
    // The default goes back first, so the sound never points at a device that is being removed.
    if (restoreDefault && m_previousDefaultOutput && *m_previousDefaultOutput != 0)
        m_audio.setDefaultOutputDevice(*m_previousDefaultOutput);
    if (m_aggregateID)
        m_audio.removeDevice(*m_aggregateID);
    m_aggregateID.reset();
    m_previousDefaultOutput.reset();
    m_activeUIDs.clear();
    m_appliedDelaysMs.clear();
    setActive(false);
    setActiveZoneID(std::nullopt);
    setStatusMessage(std::nullopt);
}

bool MultiOutputController::setDelay(AudioDeviceID device, double milliseconds) {
    const auto* entry = listed(device);
    if (!entry || !(milliseconds >= 0 && milliseconds <= kMaxDelayMs))
        return false; // also refuses NaN
    m_settings.setDelay(*entry, milliseconds);
    emit delaysMsChanged();
    return true;
}

void MultiOutputController::commitDelays() {
    if (m_isActive)
        rebuildAggregate();
}

bool MultiOutputController::createAggregate(const std::map<std::string, double>& delays,
                                            bool makeDefault) {
    const auto master = masterDevice();
    if (!master)
        return false;
    if (m_aggregateID)
        m_audio.removeDevice(*m_aggregateID);
    m_aggregateID.reset();
    const auto devices = selectedDevices();
    const auto created = m_audio.createMultiOutput(devices, master->uid, delays);
    if (!created)
        return false;
    if (makeDefault)
        m_audio.setDefaultOutputDevice(*created);
    m_aggregateID = *created;
    m_appliedDelaysMs = delays;
    for (const auto& device : devices)
        makeAudible(device);
    return true;
}

void MultiOutputController::rebuildAggregate() {
    if (!m_isActive || !masterDevice())
        return;
    const bool makeDefault = defaultLeftToBrivello();
    const auto previousDelays = m_appliedDelaysMs;
    if (createAggregate(latencyMs(), makeDefault)) {
        publishPlayingCount();
        return;
    }
    // The new delays were refused: the sound goes on as it was, and the delays say so.
    if (createAggregate(previousDelays, makeDefault)) {
        for (const auto& device : selectedDevices()) {
            auto applied = previousDelays.find(device.uid);
            const double delay = applied == previousDelays.end() ? 0.0 : applied->second;
            m_settings.setDelay(device, delay);
        }
        emit delaysMsChanged();
        setStatusMessage(QString::fromUtf8("Verzögerung konnte nicht übernommen werden."));
        return;
    }
    // Nothing plays: off, with the sound back where it was before switching on.
    switchOff(true);
    setStatusMessage(QString::fromUtf8("Verzögerung konnte nicht übernommen werden."));
}

void MultiOutputController::makeAudible(const AudioOutputDevice& device) {
    m_audio.unmute(device.id);
    float level = 1.0f;
    if (auto read = m_audio.volume(device.id))
        level = *read;
    else if (auto stored = volumes().find(device.id); stored != volumes().end())
        level = stored->second;
    if (level < kInaudibleBelow) {
        level = kAudibleLevel;
        m_audio.setVolume(kAudibleLevel, device.id);
    }
    m_settings.setVolume(device, level);
    emit volumesChanged();
}

void MultiOutputController::onVolumeChanged(AudioDeviceID id) {
    const auto* device = listed(id);
    if (!device)
        return; // not listed yet: its first refresh reads it
    // The current value, not the event's: while a slider moves, an older change reports late.
    const auto read = m_audio.volume(id);
    if (read && m_settings.takeVolume(*device, read))
        emit volumesChanged();
}

void MultiOutputController::setVolume(float volume, const AudioOutputDevice& device) {
    m_settings.setVolume(device, volume);
    emit volumesChanged();
    if (volume > 0)
        m_audio.unmute(device.id);
    m_audio.setVolume(volume, device.id);
}

void MultiOutputController::activateZone(const Zone& zone) {
    if (m_isActive) {
        const bool sameZone = m_activeZoneID && *m_activeZoneID == zone.id;
        deactivate();
        if (sameZone)
            return; // the zone's second press switches it off
    }
    std::set<AudioDeviceID> ids;
    for (const auto& uid : zone.deviceUIDs) {
        auto it = std::find_if(m_devices.begin(), m_devices.end(),
                               [&uid](const AudioOutputDevice& d) { return d.uid == uid; });
        if (it != m_devices.end())
            ids.insert(it->id);
    }
    if (ids.empty()) {
        setStatusMessage(QString::fromUtf8("Zone „%1“: keine Geräte verfügbar.")
                             .arg(QString::fromStdString(zone.name)));
        return;
    }
    setSelected(std::move(ids));
    activate();
    if (m_isActive)
        setActiveZoneID(zone.id);
}

bool MultiOutputController::zoneIsAvailable(const Zone& zone) const {
    return std::any_of(zone.deviceUIDs.begin(), zone.deviceUIDs.end(), [this](const auto& uid) {
        return std::any_of(m_devices.begin(), m_devices.end(),
                           [&uid](const AudioOutputDevice& d) { return d.uid == uid; });
    });
}

void MultiOutputController::teardown() {
    if (m_isActive)
        deactivate();
    m_audio.destroyExistingMultiOutput();
}

void MultiOutputController::setSelected(std::set<AudioDeviceID> selected) {
    const bool couldActivate = canActivate();
    m_selected = std::move(selected);
    emit selectedChanged();
    if (couldActivate != canActivate())
        emit canActivateChanged();
}

void MultiOutputController::setActive(bool active) {
    if (m_isActive == active)
        return;
    const bool couldActivate = canActivate();
    m_isActive = active;
    emit isActiveChanged();
    if (couldActivate != canActivate())
        emit canActivateChanged();
}

void MultiOutputController::setStatusMessage(std::optional<QString> message) {
    if (m_statusMessage == message)
        return;
    m_statusMessage = std::move(message);
    emit statusMessageChanged();
}

void MultiOutputController::setActiveZoneID(std::optional<QUuid> zone) {
    if (m_activeZoneID == zone)
        return;
    m_activeZoneID = zone;
    emit activeZoneIDChanged();
}
