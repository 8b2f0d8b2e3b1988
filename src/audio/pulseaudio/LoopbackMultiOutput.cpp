#include "LoopbackMultiOutput.h"

#include "ModuleArguments.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <thread>

namespace {

using Sink = PulseConnection::Sink;

constexpr double kFallbackRate = 44100.0;
// PipeWire links a loopback's stream a moment after answering the load; PulseAudio at once.
constexpr int kLinkChecks = 20;
constexpr std::chrono::milliseconds kLinkCheckInterval(10);

bool mentionsOwnSink(const PulseConnection::Module& module) {
    return module.argument.find(LoopbackMultiOutput::kSinkName) != std::string::npos ||
           module.argument.find(LoopbackMultiOutput::kMarkerProperty) != std::string::npos;
}

bool isOwnLoopback(const PulseConnection::Module& module) {
    return module.name == "module-loopback" && mentionsOwnSink(module);
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

bool LoopbackMultiOutput::isOwnName(const std::string& name) {
    const std::string own = kSinkName;
    // A server that already holds the name hands out NAME.2, NAME.3 and so on.
    return name == own || name.starts_with(own + ".");
}

bool LoopbackMultiOutput::isOwnSink(const Sink& sink) {
    return isOwnName(sink.name) || sink.properties.contains(kMarkerProperty);
}

std::optional<Sink> LoopbackMultiOutput::build(const Recipe& recipe) {
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

    const std::string nullSinkArgs =
        "sink_name=" + moduleargs::quote(kSinkName) +
        " rate=" + std::to_string(static_cast<long>(highestRate(members))) + " sink_properties=" +
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

    std::vector<Loopback> loaded;
    for (const auto& member : members) {
        const auto module = loadLoopback(recipe, ownSink, member);
        if (!module) {
            const int error = m_connection.lastError();
            remove({ownSink});
            reportFailure("module-loopback", error);
            return std::nullopt;
        }
        loaded.push_back({*module, member.index});
    }
    if (keepPlaying(loaded) == 0) {
        remove({ownSink});
        return std::nullopt;
    }
    return ownSink;
}

std::optional<std::uint32_t>
LoopbackMultiOutput::loadLoopback(const Recipe& recipe, const Sink& own, const Sink& member) {
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
    // The member by its index: sink names may hold quotes and backslashes, which PipeWire keeps
    // escaped where PulseAudio unescapes them. A number reads alike on both.
    const std::string args =
        "source=" + moduleargs::quote(own.name + ".monitor") +
        " sink=" + std::to_string(member.index) + " latency_msec=" + std::to_string(latencyMs) +
        " source_dont_move=true sink_dont_move=true" +
        " sink_input_properties=" + moduleargs::quoteProperties(inputProperties) +
        " source_output_properties=" + moduleargs::quoteProperties(marker);
    return m_connection.loadModule("module-loopback", args);
}

int LoopbackMultiOutput::keepPlaying(std::vector<Loopback> loopbacks) {
    // A loaded module is no proof: PipeWire answers first, links the stream a moment later, and
    // drops a loopback whose sink it cannot link to.
    const auto total = loopbacks.size();
    std::vector<Loopback> confirmed;
    for (int check = 1; !loopbacks.empty(); ++check) {
        const auto inputs = m_connection.sinkInputs();
        std::erase_if(loopbacks, [&](const Loopback& loopback) {
            const auto input = std::find_if(inputs.begin(), inputs.end(), [&](const auto& i) {
                return i.ownerModule == loopback.module && i.sink != PA_INVALID_INDEX;
            });
            if (input == inputs.end())
                return false;
            if (input->sink == loopback.sink)
                confirmed.push_back(loopback);
            else
                m_connection.unloadModule(loopback.module);
            return true;
        });
        if (loopbacks.empty() || check == kLinkChecks || !m_connection.isConnected())
            break;
        const auto modules = m_connection.modules();
        std::erase_if(loopbacks, [&](const Loopback& loopback) {
            return std::none_of(modules.begin(), modules.end(),
                                [&](const auto& m) { return m.index == loopback.module; });
        });
        if (!loopbacks.empty())
            std::this_thread::sleep_for(kLinkCheckInterval);
    }
    for (const auto& unlinked : loopbacks)
        m_connection.unloadModule(unlinked.module);
    for (std::size_t i = confirmed.size(); i < total; ++i)
        reportFailure("module-loopback", PA_ERR_NOENTITY);
    return static_cast<int>(confirmed.size());
}

std::vector<Sink> LoopbackMultiOutput::missingMembers(const Recipe& recipe,
                                                      const std::vector<Sink>& sinks) {
    const auto playing = playingMembers(recipe);
    std::vector<Sink> missing;
    for (const auto& uid : recipe.memberUIDs)
        if (const auto* member = findByName(sinks, uid);
            member && std::find(playing.begin(), playing.end(), uid) == playing.end())
            missing.push_back(*member);
    return missing;
}

bool LoopbackMultiOutput::completeLoopbacks(const Recipe& recipe, const Sink& own,
                                            const std::vector<Sink>& members) {
    std::vector<Loopback> loaded;
    bool refused = false;
    for (const auto& member : members) {
        if (const auto module = loadLoopback(recipe, own, member))
            loaded.push_back({*module, member.index});
        else
            refused = true;
    }
    keepPlaying(std::move(loaded));
    return !refused;
}

std::vector<std::string> LoopbackMultiOutput::playingMembers(const Recipe& recipe) {
    std::vector<std::uint32_t> loopbacks;
    for (const auto& module : m_connection.modules())
        if (isOwnLoopback(module))
            loopbacks.push_back(module.index);
    std::vector<std::uint32_t> targets;
    for (const auto& input : m_connection.sinkInputs())
        if (std::find(loopbacks.begin(), loopbacks.end(), input.ownerModule) != loopbacks.end())
            targets.push_back(input.sink);
    if (targets.empty())
        return {};
    const auto sinks = m_connection.sinks();
    std::vector<std::string> members;
    for (const auto& uid : recipe.memberUIDs)
        if (const auto* sink = findByName(sinks, uid);
            sink && std::find(targets.begin(), targets.end(), sink->index) != targets.end())
            members.push_back(uid);
    return members;
}

std::string LoopbackMultiOutput::realDefault(const std::vector<Sink>& sinks) {
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

bool LoopbackMultiOutput::anyLeft() {
    const auto sinks = m_connection.sinks();
    const auto modules = m_connection.modules();
    return std::any_of(sinks.begin(), sinks.end(), [](const Sink& s) { return isOwnSink(s); }) ||
           std::any_of(modules.begin(), modules.end(), mentionsOwnSink);
}

void LoopbackMultiOutput::removeAll() {
    std::vector<Sink> own;
    for (const auto& sink : m_connection.sinks())
        if (isOwnSink(sink))
            own.push_back(sink);
    remove(own);
}

void LoopbackMultiOutput::remove(const std::vector<Sink>& own) {
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
        if (isOwnLoopback(module))
            m_connection.unloadModule(module.index);
    for (const auto& module : modules) {
        const bool owns = std::any_of(own.begin(), own.end(),
                                      [&](const Sink& s) { return s.ownerModule == module.index; });
        if (owns || (module.name == "module-null-sink" && mentionsOwnSink(module)))
            m_connection.unloadModule(module.index);
    }
}
