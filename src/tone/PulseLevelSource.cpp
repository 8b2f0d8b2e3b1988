#include "PulseLevelSource.h"

#include "LevelMeter.h"
#include "PulseStream.h"

#include <algorithm>

PulseLevelSource::PulseLevelSource(PulseConnection& connection, QObject* parent)
    : LevelSource(parent), m_connection(connection) {
    m_clock.setInterval(1000 / kPeaksPerSecond);
    connect(&m_clock, &QTimer::timeout, this, &PulseLevelSource::tick);
}

// The streams go first: their callbacks use the peaks.
PulseLevelSource::~PulseLevelSource() {
    m_meters.clear();
}

void PulseLevelSource::watch(const std::set<std::string>& uids) {
    std::vector<std::string> dropped;
    for (auto it = m_meters.begin(); it != m_meters.end();) {
        if (uids.contains(it->first)) {
            ++it;
            continue;
        }
        dropped.push_back(it->first);
        it = m_meters.erase(it);
    }
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& uid : dropped)
            m_peaks.erase(uid);
    }
    for (const auto& uid : uids)
        if (!m_meters.contains(uid))
            attach(uid, m_meters[uid]);
    if (m_meters.empty())
        m_clock.stop();
    else if (!m_clock.isActive())
        m_clock.start();
    for (const auto& uid : dropped)
        emit levelChanged(uid);
}

double PulseLevelSource::level(const std::string& uid) const {
    const auto it = m_meters.find(uid);
    return it == m_meters.end() ? 0.0 : it->second.shown;
}

void PulseLevelSource::attach(const std::string& uid, Meter& meter) {
    meter.lastAttempt = Clock::now();
    meter.stream.reset();
    meter.stream = PulseStream::peaks(m_connection, uid + ".monitor", [this, uid](float peak) {
        const std::lock_guard lock(m_mutex);
        float& highest = m_peaks[uid];
        highest = std::max(highest, peak);
    });
}

void PulseLevelSource::tick() {
    std::map<std::string, float> peaks;
    {
        const std::lock_guard lock(m_mutex);
        peaks.swap(m_peaks);
    }
    const auto now = Clock::now();
    for (auto& [uid, meter] : m_meters) {
        if ((!meter.stream || meter.stream->ended()) &&
            now - meter.lastAttempt >= kReattachInterval)
            attach(uid, meter);
        // A monitor of a sink that is idle sends nothing: that is silence, and the bars fall.
        const auto peak = peaks.find(uid);
        const double target = levelmeter::fromPeak(peak == peaks.end() ? 0.0 : peak->second);
        const double next = levelmeter::fallen(meter.shown, target);
        if (next == meter.shown)
            continue;
        meter.shown = next;
        emit levelChanged(uid);
    }
}
