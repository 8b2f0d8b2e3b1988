#include "PulseAudioSystem.h"

#include "ModuleArguments.h"
#include "SinkTransport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

using Sink = PulseConnection::Sink;

constexpr double kFallbackRate = 44100.0;
constexpr std::chrono::milliseconds kConnectTimeout(1000);
constexpr int kReconnectIntervalMs = 1000;

bool isOwnName(const std::string& name) {
    const std::string own = PulseAudioSystem::kSinkName;
    // A server that already holds the name hands out NAME.2, NAME.3 and so on.
    return name == own || name.starts_with(own + ".");
}

bool mentionsOwnSink(const PulseConnection::Module& module) {
    return module.argument.find(PulseAudioSystem::kSinkName) != std::string::npos ||
           module.argument.find(PulseAudioSystem::kMarkerProperty) != std::string::npos;
}

// The loopback's sink argument, also how a member's loopback is recognised among the modules.
std::string loopbackSinkArgument(const std::string& sinkName) {
    return " sink=" + moduleargs::quote(sinkName);
}

const Sink* findByName(const std::vector<Sink>& sinks, const std::string& name) {
    auto it =
        std::find_if(sinks.begin(), sinks.end(), [&](const Sink& s) { return s.name == name; });
    return it == sinks.end() ? nullptr : &*it;
}

// The server tells only each sink's current rate and resamples wherever rates differ, so the
// multi-output sink runs at the highest member rate and nothing is lost on the best device.
double highestRate(const std::vector<Sink>& members) {
    std::uint32_t highest = 0;
    for (const auto& member : members)
        highest = std::max(highest, member.rate);
    return highest == 0 ? kFallbackRate : static_cast<double>(highest);
}

// The one diagnostic line of a failed creation; `what` is the module that failed to load.
void reportFailure(const char* what, int error) {
    std::printf("Brivello: %s failed (%d)\n", what, error);
    std::fflush(stdout);
}

} // namespace

PulseAudioSystem::PulseAudioSystem()
    : m_mainThread(std::make_unique<QObject>()),
      m_connection([this](PulseConnection::Event event) { onServerEvent(event); }) {
    m_reconnectTimer.setInterval(kReconnectIntervalMs);
    QObject::connect(&m_reconnectTimer, &QTimer::timeout, m_mainThread.get(),
                     [this] { tryReconnect(); });
    if (!m_connection.connect(kConnectTimeout))
        m_reconnectTimer.start();
}

PulseAudioSystem::~PulseAudioSystem() = default;

bool PulseAudioSystem::isOwnSink(const Sink& sink) {
    return isOwnName(sink.name) || sink.properties.contains(kMarkerProperty);
}

void PulseAudioSystem::onServerEvent(PulseConnection::Event event) {
    // libpulse's thread, loop locked: only hand the event over to the main thread.
    if (event == PulseConnection::Event::lost) {
        QMetaObject::invokeMethod(
            m_mainThread.get(),
            [this] {
                m_reconnectTimer.start();
                notifyListener();
            },
            Qt::QueuedConnection);
        return;
    }
    // A burst of events (a module load brings several) becomes one notification.
    if (!m_changePending.exchange(true))
        QMetaObject::invokeMethod(
            m_mainThread.get(), [this] { notifyListener(); }, Qt::QueuedConnection);
}

void PulseAudioSystem::notifyListener() {
    m_changePending = false;
    heal();
    if (m_listener)
        m_listener();
    // Sink events do not say what changed: every device is offered, the listener reads the
    // current volume and keeps only real changes.
    if (m_volumeListener)
        for (const auto& sink : m_connection.sinks())
            if (!isOwnSink(sink))
                m_volumeListener(m_ids.idFor(sink.name, sink.index));
}

void PulseAudioSystem::tryReconnect() {
    if (!m_connection.connect(kConnectTimeout))
        return;
    m_reconnectTimer.stop();
    notifyListener();
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
    const auto sink = sinkOf(device);
    if (!sink || sink->volume.channels == 0)
        return std::nullopt;
    return static_cast<float>(static_cast<double>(pa_cvolume_max(&sink->volume)) / PA_VOLUME_NORM);
}

bool PulseAudioSystem::setVolume(float volume, AudioDeviceID device) {
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
    std::vector<Sink> members;
    for (const auto device : devices)
        if (auto sink = sinkOf(device))
            members.push_back(std::move(*sink));
    return highestRate(members);
}

std::optional<AudioDeviceID>
PulseAudioSystem::createMultiOutput(const std::vector<AudioOutputDevice>& devices,
                                    const std::string& /*masterUID*/,
                                    const std::map<std::string, double>& extraLatencyMs) {
    // Every loopback resamples adaptively to the null sink's clock, so there is no master to
    // pick: each device, the master included, is held to the same timeline.
    if (devices.empty())
        return std::nullopt;
    destroyExistingMultiOutput();
    std::vector<std::string> uids;
    for (const auto& device : devices)
        uids.push_back(device.uid);
    MultiOutputRecipe recipe{std::move(uids), extraLatencyMs, kFallbackRate};
    const auto ownSink = build(recipe);
    if (!ownSink)
        return std::nullopt;
    m_liveMultiOutput = std::move(recipe);
    return m_ids.idFor(ownSink->name, ownSink->index);
}

std::optional<PulseConnection::Sink> PulseAudioSystem::build(MultiOutputRecipe& recipe) {
    auto sinks = m_connection.sinks();
    std::vector<Sink> members;
    for (const auto& uid : recipe.memberUIDs)
        if (const auto* sink = findByName(sinks, uid); sink && !isOwnSink(*sink))
            members.push_back(*sink);
    if (members.empty()) {
        reportFailure("finding the devices", PA_ERR_NOENTITY);
        return std::nullopt;
    }

    // A server that still remembers Brivello's sink as default would make the new sink default
    // while streams play, which PulseAudio 16 does not survive: name the real default first.
    const auto real = realDefault(sinks);
    if (!real.empty()) {
        m_connection.setDefaultSink(real);
        m_realDefault = real;
    }

    recipe.rate = highestRate(members);

    const std::string nullSinkArgs =
        "sink_name=" + moduleargs::quote(kSinkName) +
        " rate=" + std::to_string(static_cast<long>(recipe.rate)) + " sink_properties=" +
        moduleargs::quoteProperties({{"device.description", kDescription},
                                     {kMarkerProperty, "multioutput"},
                                     {kPreviousDefaultProperty, real}});
    const auto nullSink = m_connection.loadModule("module-null-sink", nullSinkArgs);
    if (!nullSink) {
        reportFailure("module-null-sink", m_connection.lastError());
        return std::nullopt;
    }

    sinks = m_connection.sinks();
    auto own = std::find_if(sinks.begin(), sinks.end(),
                            [&](const Sink& s) { return s.ownerModule == *nullSink; });
    if (own == sinks.end())
        own = std::find_if(sinks.begin(), sinks.end(), [](const Sink& s) { return isOwnSink(s); });
    if (own == sinks.end()) {
        m_connection.unloadModule(*nullSink);
        reportFailure("module-null-sink", PA_ERR_NOENTITY);
        return std::nullopt;
    }
    const Sink ownSink = *own;

    for (const auto& member : members) {
        if (!loadLoopback(recipe, ownSink, member)) {
            const int error = m_connection.lastError();
            removeOwnSinks({ownSink});
            reportFailure("module-loopback", error);
            return std::nullopt;
        }
    }
    return ownSink;
}

bool PulseAudioSystem::loadLoopback(const MultiOutputRecipe& recipe, const Sink& ownSink,
                                    const Sink& member) {
    double delayMs = 0;
    if (auto delay = recipe.extraLatencyMs.find(member.name);
        delay != recipe.extraLatencyMs.end() && delay->second > 0)
        delayMs = delay->second;
    const auto latencyMs = std::lround(kBaseLatencyMs + delayMs);
    const std::vector<std::pair<std::string, std::string>> marker{{kMarkerProperty, "loopback"}};
    auto inputProperties = marker;
    inputProperties.push_back(
        {"media.name", std::string(kDescription) + " → " +
                           (member.description.empty() ? member.name : member.description)});
    const std::string args =
        "source=" + moduleargs::quote(ownSink.name + ".monitor") +
        loopbackSinkArgument(member.name) + " latency_msec=" + std::to_string(latencyMs) +
        " source_dont_move=true sink_dont_move=true" +
        " sink_input_properties=" + moduleargs::quoteProperties(inputProperties) +
        " source_output_properties=" + moduleargs::quoteProperties(marker);
    return m_connection.loadModule("module-loopback", args).has_value();
}

void PulseAudioSystem::heal() {
    if (!m_liveMultiOutput || !m_connection.isConnected())
        return;
    const auto sinks = m_connection.sinks();
    const auto own =
        std::find_if(sinks.begin(), sinks.end(), [](const Sink& s) { return s.name == kSinkName; });
    if (own == sinks.end()) {
        // The device died with the server while the controller still holds it: bring it back
        // under its old name, and so its old id, as the default output.
        const bool anyMember =
            std::any_of(m_liveMultiOutput->memberUIDs.begin(), m_liveMultiOutput->memberUIDs.end(),
                        [&](const std::string& uid) { return findByName(sinks, uid) != nullptr; });
        if (!anyMember)
            return; // the server is back, its devices are not yet
        MultiOutputRecipe recipe = std::move(*m_liveMultiOutput);
        // Stray loopbacks of a half-built one go first.
        destroyExistingMultiOutput();
        if (const auto rebuilt = build(recipe))
            m_connection.setDefaultSink(rebuilt->name);
        m_liveMultiOutput = std::move(recipe); // a failed attempt is tried again on the next change
        return;
    }
    // A member that went away lost its loopback with it; now that it is back it plays again,
    // as it would in a Core Audio aggregate device.
    const auto modules = m_connection.modules();
    for (const auto& uid : m_liveMultiOutput->memberUIDs) {
        const auto* member = findByName(sinks, uid);
        if (!member)
            continue;
        if (!hasLoopback(modules, uid))
            loadLoopback(*m_liveMultiOutput, *own, *member);
    }
}

bool PulseAudioSystem::hasLoopback(const std::vector<PulseConnection::Module>& modules,
                                   const std::string& uid) {
    const auto argument = loopbackSinkArgument(uid);
    return std::any_of(modules.begin(), modules.end(), [&](const auto& m) {
        return m.name == "module-loopback" && mentionsOwnSink(m) &&
               m.argument.find(argument + " ") != std::string::npos;
    });
}

std::vector<std::string> PulseAudioSystem::multiOutputMembers() {
    if (!m_liveMultiOutput)
        return {};
    const auto modules = m_connection.modules();
    std::vector<std::string> members;
    for (const auto& uid : m_liveMultiOutput->memberUIDs)
        if (hasLoopback(modules, uid))
            members.push_back(uid);
    return members;
}

std::string PulseAudioSystem::realDefault(const std::vector<Sink>& sinks) {
    if (const auto current = m_connection.defaultSinkName())
        if (const auto* sink = findByName(sinks, *current); sink && !isOwnSink(*sink))
            return sink->name;
    if (const auto* remembered = findByName(sinks, m_realDefault))
        return remembered->name;
    for (const auto& sink : sinks) {
        if (!isOwnSink(sink))
            continue;
        auto recorded = sink.properties.find(kPreviousDefaultProperty);
        if (recorded == sink.properties.end())
            continue;
        if (const auto* previous = findByName(sinks, recorded->second);
            previous && !isOwnSink(*previous))
            return previous->name;
    }
    for (const auto& sink : sinks)
        if (!isOwnSink(sink))
            return sink.name;
    return {};
}

void PulseAudioSystem::destroyExistingMultiOutput() {
    m_liveMultiOutput.reset();
    std::vector<Sink> own;
    for (const auto& sink : m_connection.sinks())
        if (isOwnSink(sink))
            own.push_back(sink);
    removeOwnSinks(own);
}

void PulseAudioSystem::removeDevice(AudioDeviceID device) {
    const auto name = m_ids.nameOf(device);
    if (!name || !isOwnName(*name))
        return;
    // Also when it went with a server that is not back yet: it is never to be brought back.
    m_liveMultiOutput.reset();
    if (const auto sink = m_connection.sink(*name))
        removeOwnSinks({*sink});
}

void PulseAudioSystem::removeOwnSinks(const std::vector<Sink>& own) {
    const auto sinks = m_connection.sinks();
    const auto real = realDefault(sinks);
    const auto* realSink = findByName(sinks, real);

    // PulseAudio 16 aborts when a sink that carried a stream for a while is unloaded under it,
    // and when a remembered default comes back: default and streams leave first.
    if (realSink) {
        const auto current = m_connection.defaultSinkName();
        if (!current || isOwnName(*current) || !findByName(sinks, *current))
            m_connection.setDefaultSink(real);
        for (const auto& input : m_connection.sinkInputs()) {
            const bool onOwn = std::any_of(own.begin(), own.end(),
                                           [&](const Sink& s) { return s.index == input.sink; });
            if (onOwn)
                m_connection.moveSinkInput(input.index, realSink->index);
        }
    }

    // Loopbacks first, so none of them is left reading a vanished monitor.
    const auto modules = m_connection.modules();
    for (const auto& module : modules)
        if (module.name == "module-loopback" && mentionsOwnSink(module))
            m_connection.unloadModule(module.index);
    for (const auto& module : modules) {
        const bool owns = std::any_of(own.begin(), own.end(),
                                      [&](const Sink& s) { return s.ownerModule == module.index; });
        if (owns || (module.name == "module-null-sink" && mentionsOwnSink(module)))
            m_connection.unloadModule(module.index);
    }
}

AudioDeviceID PulseAudioSystem::defaultOutputDevice() {
    const auto name = m_connection.defaultSinkName();
    if (!name)
        return 0;
    const auto sink = m_connection.sink(*name);
    return sink ? m_ids.idFor(sink->name, sink->index) : 0;
}

std::int32_t PulseAudioSystem::setDefaultOutputDevice(AudioDeviceID device) {
    const auto sink = sinkOf(device);
    if (!sink)
        return PA_ERR_NOENTITY;
    if (!m_connection.setDefaultSink(sink->name))
        return m_connection.lastError() != 0 ? m_connection.lastError() : PA_ERR_UNKNOWN;
    if (!isOwnSink(*sink))
        m_realDefault = sink->name;
    return 0;
}

void PulseAudioSystem::unmute(AudioDeviceID device) {
    if (const auto sink = sinkOf(device))
        m_connection.setSinkMute(sink->index, false);
}
