#include "PulseAudioSystem.h"

#include "SinkTransport.h"

#include <QCoreApplication>

#include <algorithm>
#include <cmath>

namespace {

using Sink = PulseConnection::Sink;

constexpr std::chrono::milliseconds kConnectTimeout(1000);
constexpr int kReconnectIntervalMs = 1000;
constexpr double kFallbackRate = 44100.0;

const Sink* findByName(const std::vector<Sink>& sinks, const std::string& name) {
    auto it =
        std::find_if(sinks.begin(), sinks.end(), [&](const Sink& s) { return s.name == name; });
    return it == sinks.end() ? nullptr : &*it;
}

} // namespace

PulseAudioSystem::PulseAudioSystem(std::chrono::milliseconds restAfter)
    : m_mainThread(std::make_unique<QObject>()),
      m_connection([this](PulseConnection::Event event) { onServerEvent(event); }),
      m_rest(
          m_connection, [this] { return m_liveMultiOutput.has_value(); },
          [this] { return m_multiOutput.playingMembers(*m_liveMultiOutput); }, restAfter) {
    m_reconnectTimer.setInterval(kReconnectIntervalMs);
    QObject::connect(&m_reconnectTimer, &QTimer::timeout, m_mainThread.get(),
                     [this] { tryReconnect(); });
    m_retryTimer.setSingleShot(true);
    QObject::connect(&m_retryTimer, &QTimer::timeout, m_mainThread.get(), [this] { heal(); });
    // Connected before the controller's own teardown, so quitting never waits longer in all,
    // whatever the server does.
    if (auto* app = QCoreApplication::instance())
        QObject::connect(app, &QCoreApplication::aboutToQuit, m_mainThread.get(), [this] {
            m_connection.limitAllUntil(PulseConnection::Clock::now() + kQuitBudget);
        });
    if (!m_connection.connect(kConnectTimeout))
        m_reconnectTimer.start();
}

PulseAudioSystem::~PulseAudioSystem() = default;

void PulseAudioSystem::onServerEvent(PulseConnection::Event event) {
    // libpulse's thread, loop locked, or the main thread inside a request: only hand over.
    auto post = [this](auto work) {
        QMetaObject::invokeMethod(m_mainThread.get(), work, Qt::QueuedConnection);
    };
    switch (event) {
    case PulseConnection::Event::lost:
        post([this] { onConnectionLost(); });
        break;
    case PulseConnection::Event::connected:
        post([this] { onConnected(); });
        break;
    // A burst of events (a module load brings several) becomes one notification.
    case PulseConnection::Event::devices:
        if (!m_devicesPending.exchange(true))
            post([this] { onDevicesChanged(); });
        break;
    case PulseConnection::Event::streams:
        if (!m_streamsPending.exchange(true))
            post([this] {
                m_streamsPending = false;
                const auto within = budget();
                m_rest.update();
            });
        break;
    case PulseConnection::Event::volumes:
        if (!m_volumesPending.exchange(true))
            post([this] {
                m_volumesPending = false;
                publishVolumeChanges();
            });
        break;
    }
}

void PulseAudioSystem::onDevicesChanged() {
    m_devicesPending = false;
    heal();
    if (m_listener)
        m_listener();
    // A device that comes back may bring another volume than it left with.
    publishVolumeChanges();
}

void PulseAudioSystem::onConnectionLost() {
    m_rest.forget(); // a rest ends with the server that held it
    if (!m_connection.isConnected() && !m_reconnectTimer.isActive())
        m_reconnectTimer.start();
    if (m_listener)
        m_listener();
}

void PulseAudioSystem::tryReconnect() {
    // Never waits: a server that takes the socket but does not answer (a stopped one) would
    // otherwise block the main thread on every attempt.
    if (m_connection.isConnected())
        m_reconnectTimer.stop();
    else if (!m_connection.isConnecting())
        m_connection.startConnecting();
}

void PulseAudioSystem::onConnected() {
    m_reconnectTimer.stop();
    // A repair that failed because the server was gone is due at once, not after its back-off.
    m_retryTimer.stop();
    m_retryDelay = kFirstRetry;
    {
        // What a request that timed out meant to remove, or a repair that stalled left behind:
        // nothing of Brivello's stays on the server unless the controller holds the device.
        const auto within = budget();
        if (!m_liveMultiOutput && m_multiOutput.anyLeft())
            m_multiOutput.removeAll();
    }
    onDevicesChanged();
}

void PulseAudioSystem::heal() {
    if (!m_liveMultiOutput || m_retryTimer.isActive() || !m_connection.isConnected())
        return;
    const auto within = budget();
    if (repair()) {
        m_retryDelay = kFirstRetry;
        m_rest.update(); // a rebuilt device rests as well
        return;
    }
    // Each attempt loads and unloads modules, whose events would call for the next at once.
    m_retryTimer.start(m_retryDelay);
    m_retryDelay = std::min(m_retryDelay * 2, kLongestRetry);
}

bool PulseAudioSystem::repair() {
    const auto sinks = m_connection.sinks();
    const auto* own = findByName(sinks, kSinkName);
    if (own) {
        const auto missing = m_multiOutput.missingMembers(*m_liveMultiOutput, sinks);
        if (missing.empty())
            return true;
        // A loopback loaded on a resting device would start with its member asleep.
        m_rest.interrupt();
        return m_multiOutput.completeLoopbacks(*m_liveMultiOutput, *own, missing);
    }
    // The device died with the server while the controller still holds it: bring it back under
    // its old name, and so its old id, as the default output.
    const auto& members = m_liveMultiOutput->memberUIDs;
    if (std::none_of(members.begin(), members.end(),
                     [&](const std::string& uid) { return findByName(sinks, uid) != nullptr; }))
        return true;           // the server is back, its devices are not yet
    m_multiOutput.removeAll(); // stray loopbacks of a half-built one
    const auto rebuilt = m_multiOutput.build(*m_liveMultiOutput);
    if (!rebuilt)
        return false;
    m_connection.setDefaultSink(rebuilt->name);
    return true;
}

void PulseAudioSystem::forgetMultiOutput() {
    m_rest.forget();
    m_liveMultiOutput.reset();
    m_retryTimer.stop();
    m_retryDelay = kFirstRetry;
}

void PulseAudioSystem::publishVolumeChanges() {
    if (!m_connection.isConnected())
        return;
    std::vector<AudioDeviceID> changed;
    {
        const auto within = budget();
        for (const auto& sink : m_connection.sinks()) {
            if (isOwnSink(sink))
                continue;
            const std::pair now{pa_cvolume_max(&sink.volume), sink.mute};
            auto seen = m_seenVolumes.find(sink.name);
            if (seen != m_seenVolumes.end() && seen->second == now)
                continue;
            m_seenVolumes[sink.name] = now;
            changed.push_back(m_ids.idFor(sink.name, sink.index));
        }
    }
    // The listener reads volume() again, each read a budget of its own.
    if (m_volumeListener)
        for (const auto id : changed)
            m_volumeListener(id);
}

std::optional<PulseConnection::Sink> PulseAudioSystem::sinkOf(AudioDeviceID device) {
    const auto name = m_ids.nameOf(device);
    if (!name)
        return std::nullopt;
    return m_connection.sink(*name);
}

void PulseAudioSystem::setDeviceListListener(std::function<void()> listener) {
    m_listener = std::move(listener);
}

void PulseAudioSystem::setVolumeListener(std::function<void(AudioDeviceID)> listener) {
    m_volumeListener = std::move(listener);
}

std::vector<AudioOutputDevice> PulseAudioSystem::outputDevices() {
    const auto within = budget();
    std::vector<AudioOutputDevice> devices;
    for (const auto& sink : m_connection.sinks()) {
        if (isOwnSink(sink))
            continue;
        AudioOutputDevice device;
        device.id = m_ids.idFor(sink.name, sink.index);
        device.uid = sink.name;
        device.name = sink.description.empty() ? "Unbekannt" : sink.description;
        device.transport = sinkTransport({sink.name, sink.properties, sink.portNames});
        devices.push_back(std::move(device));
    }
    sortByName(devices);
    return devices;
}

std::optional<float> PulseAudioSystem::volume(AudioDeviceID device) {
    const auto within = budget();
    const auto sink = sinkOf(device);
    if (!sink || sink->volume.channels == 0)
        return std::nullopt;
    // Above 1 where the sink amplifies: shown as it is, never capped.
    return static_cast<float>(static_cast<double>(pa_cvolume_max(&sink->volume)) / PA_VOLUME_NORM);
}

bool PulseAudioSystem::setVolume(float volume, AudioDeviceID device) {
    const auto within = budget();
    const auto sink = sinkOf(device);
    if (!sink)
        return false;
    const auto target = static_cast<pa_volume_t>(
        std::lround(std::clamp(static_cast<double>(volume), 0.0, 1.0) * PA_VOLUME_NORM));
    pa_cvolume channels = sink->volume;
    // Scaling the loudest channel keeps the balance between the others. At 0 there is no
    // balance left to scale, so the one it had is kept for the way back up.
    if (channels.channels == 0) {
        pa_cvolume_set(&channels, 1, target);
    } else {
        if (pa_cvolume_max(&channels) == PA_VOLUME_MUTED) {
            if (auto kept = m_balances.find(sink->name);
                kept != m_balances.end() && kept->second.channels == channels.channels)
                channels = kept->second;
        } else if (target == PA_VOLUME_MUTED) {
            m_balances[sink->name] = channels;
        }
        pa_cvolume_scale(&channels, target);
    }
    return m_connection.setSinkVolume(sink->index, channels);
}

double PulseAudioSystem::commonSampleRate(const std::vector<AudioDeviceID>& devices) {
    const auto within = budget();
    std::uint32_t highest = 0;
    for (const auto device : devices)
        if (auto sink = sinkOf(device))
            highest = std::max(highest, sink->rate);
    return highest == 0 ? kFallbackRate : static_cast<double>(highest);
}

std::optional<AudioDeviceID>
PulseAudioSystem::createMultiOutput(const std::vector<AudioOutputDevice>& devices,
                                    const std::string& /*masterUID*/,
                                    const std::map<std::string, double>& extraLatencyMs) {
    // Every loopback resamples adaptively to the null sink's clock, so there is no master to
    // pick: each device, the master included, is held to the same timeline.
    if (devices.empty())
        return std::nullopt;
    const auto within = budget();
    destroyExistingMultiOutput();
    LoopbackMultiOutput::Recipe recipe{{}, extraLatencyMs};
    for (const auto& device : devices)
        recipe.memberUIDs.push_back(device.uid);
    const auto ownSink = m_multiOutput.build(recipe);
    if (!ownSink)
        return std::nullopt;
    m_liveMultiOutput = std::move(recipe);
    m_rest.update();
    return m_ids.idFor(ownSink->name, ownSink->index);
}

std::vector<std::string> PulseAudioSystem::multiOutputMembers() {
    if (!m_liveMultiOutput)
        return {};
    const auto within = budget();
    return m_multiOutput.playingMembers(*m_liveMultiOutput);
}

void PulseAudioSystem::destroyExistingMultiOutput() {
    forgetMultiOutput();
    const auto within = budget();
    m_multiOutput.removeAll();
}

void PulseAudioSystem::removeDevice(AudioDeviceID device) {
    const auto name = m_ids.nameOf(device);
    if (!name || !LoopbackMultiOutput::isOwnName(*name))
        return;
    // Also when it went with a server that is not back yet: it is never to be brought back.
    forgetMultiOutput();
    const auto within = budget();
    if (const auto sink = m_connection.sink(*name))
        m_multiOutput.remove({*sink});
}

AudioDeviceID PulseAudioSystem::defaultOutputDevice() {
    const auto within = budget();
    const auto name = m_connection.defaultSinkName();
    if (!name)
        return 0;
    const auto sink = m_connection.sink(*name);
    return sink ? m_ids.idFor(sink->name, sink->index) : 0;
}

std::int32_t PulseAudioSystem::setDefaultOutputDevice(AudioDeviceID device) {
    const auto within = budget();
    const auto sink = sinkOf(device);
    if (!sink)
        return PA_ERR_NOENTITY;
    if (!m_connection.setDefaultSink(sink->name))
        return m_connection.lastError() != 0 ? m_connection.lastError() : PA_ERR_UNKNOWN;
    if (!isOwnSink(*sink))
        m_multiOutput.rememberRealDefault(sink->name);
    return 0;
}

void PulseAudioSystem::unmute(AudioDeviceID device) {
    const auto within = budget();
    if (const auto sink = sinkOf(device))
        m_connection.setSinkMute(sink->index, false);
}
