#include "MultiOutputRest.h"

#include "LoopbackMultiOutput.h"
#include "PulseAudioSystem.h"
#include "PulseStream.h"

#include <algorithm>
#include <memory>
#include <thread>

MultiOutputRest::MultiOutputRest(PulseConnection& connection, std::function<bool()> live,
                                 std::function<std::vector<std::string>()> members,
                                 std::chrono::milliseconds restAfter)
    : m_connection(connection), m_live(std::move(live)), m_members(std::move(members)) {
    m_timer.setSingleShot(true);
    m_timer.setInterval(restAfter);
    QObject::connect(&m_timer, &QTimer::timeout, [this] {
        const PulseConnection::Budget within(m_connection, PulseAudioSystem::kActionBudget);
        rest();
    });
}

void MultiOutputRest::update() {
    if (!m_live()) {
        forget();
        return;
    }
    const auto own = ownSink();
    if (!own)
        return; // gone with the server; the rebuilt device is looked at anew
    if (!playsOn(*own)) {
        if (!m_resting && !m_timer.isActive())
            m_timer.start();
        return;
    }
    m_timer.stop();
    if (m_resting)
        wake(*own); // refused: the next stream event tries again
}

void MultiOutputRest::interrupt() {
    if (!m_resting)
        return;
    if (const auto own = ownSink())
        wake(*own);
}

void MultiOutputRest::wake(const PulseConnection::Sink& own) {
    const auto members = m_members();
    auto asleep = [&] {
        std::vector<std::string> names;
        for (const auto& sink : m_connection.sinks())
            if (sink.suspended &&
                std::find(members.begin(), members.end(), sink.name) != members.end())
                names.push_back(sink.name);
        return names;
    };
    std::vector<std::unique_ptr<PulseStream>> wakers;
    for (const auto& name : asleep())
        wakers.push_back(PulseStream::keepAwake(m_connection, name + ".monitor"));
    const auto limit = PulseConnection::Clock::now() + kMembersWakeLimit;
    while (!wakers.empty() && !asleep().empty() && PulseConnection::Clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    // The loopbacks keep the members awake from here on; the wakers go.
    m_resting = !m_connection.suspendSink(own.index, false);
}

void MultiOutputRest::forget() {
    m_timer.stop();
    m_resting = false;
}

std::optional<PulseConnection::Sink> MultiOutputRest::ownSink() {
    return m_connection.sink(LoopbackMultiOutput::kSinkName);
}

bool MultiOutputRest::playsOn(const PulseConnection::Sink& own) {
    // The server's own notion of a sink in use: an uncorked stream on it.
    const auto inputs = m_connection.sinkInputs();
    return std::any_of(inputs.begin(), inputs.end(),
                       [&](const auto& input) { return input.sink == own.index && !input.corked; });
}

void MultiOutputRest::rest() {
    if (m_resting || !m_live())
        return;
    const auto own = ownSink();
    const auto server = m_connection.serverName();
    if (!own || !server || server->find("PipeWire") != std::string::npos || playsOn(*own))
        return;
    // A stream that starts from here on is reported after this and wakes it.
    m_resting = m_connection.suspendSink(own->index, true);
}
