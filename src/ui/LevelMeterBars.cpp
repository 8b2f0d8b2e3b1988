#include "LevelMeterBars.h"

#include "LevelMeter.h"

#include <QDateTime>

#include <algorithm>

namespace {
// Seconds between 1970 and 2001, the epoch the bars' waves are timed from.
constexpr double kSecondsTo2001 = 978307200.0;
} // namespace

LevelMeterBars::LevelMeterBars(QObject* parent) : QObject(parent) {
    m_clock.setInterval(1000 / levelmeter::kFramesPerSecond);
    connect(&m_clock, &QTimer::timeout, this, &LevelMeterBars::frame);
}

void LevelMeterBars::setLevel(double level) {
    if (m_level == level)
        return;
    m_level = level;
    emit levelChanged();
    reconsider();
}

void LevelMeterBars::setActive(bool active) {
    if (m_active == active)
        return;
    m_active = active;
    emit activeChanged();
    reconsider();
}

void LevelMeterBars::setBarCount(int count) {
    count = std::max(count, 0);
    if (m_barCount == count)
        return;
    m_barCount = count;
    emit barCountChanged();
    reconsider();
}

void LevelMeterBars::setMeasured(bool measured) {
    if (m_measured == measured)
        return;
    m_measured = measured;
    emit measuredChanged();
    reconsider();
}

void LevelMeterBars::reconsider() {
    const bool wasMoving = m_clock.isActive();
    const bool moves = !m_measured && levelmeter::isMoving(m_level, m_active) && m_barCount > 0;
    if (moves && !wasMoving)
        m_clock.start();
    else if (!moves && wasMoving)
        m_clock.stop();
    frame(); // the new inputs show at once, not a tick later
    if (moves != wasMoving)
        emit movingChanged();
}

void LevelMeterBars::frame() {
    const double seconds = QDateTime::currentMSecsSinceEpoch() / 1000.0 - kSecondsTo2001;
    m_fractions.resize(m_barCount);
    m_tiers.resize(m_barCount);
    for (int bar = 0; bar < m_barCount; ++bar) {
        m_fractions[bar] = m_measured ? levelmeter::measuredBarFraction(m_level, m_active)
                                      : levelmeter::barFraction(bar, seconds, m_level, m_active);
        m_tiers[bar] = static_cast<int>(levelmeter::barColour(m_fractions[bar]));
    }
    emit framed();
}
