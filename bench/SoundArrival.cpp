#include "SoundArrival.h"

#include <QByteArray>

#include <cmath>
#include <cstdint>
#include <cstring>

SoundArrival::SoundArrival(const QString& sink) {
    m_parec.start("parec", {"--device=" + sink + ".monitor", "--format=s16le",
                            QString("--rate=%1").arg(kRate), "--channels=1",
                            "--channel-map=front-left", "--latency-msec=20", "--raw"});
    m_parec.waitForStarted(3000);
}

SoundArrival::~SoundArrival() {
    m_parec.kill();
    m_parec.waitForFinished(3000);
}

void SoundArrival::skip() {
    m_parec.waitForReadyRead(0);
    m_pending += m_parec.readAllStandardOutput();
    m_pending = m_pending.right(m_pending.size() % 2); // samples stay whole
    m_first.reset();
}

void SoundArrival::poll() {
    if (m_first)
        return;
    m_parec.waitForReadyRead(0);
    m_pending += m_parec.readAllStandardOutput();
    const QByteArray data = m_pending.left(m_pending.size() / 2 * 2);
    m_pending.remove(0, data.size());
    const auto now = Clock::now();
    const auto count = static_cast<std::size_t>(data.size()) / 2;
    for (std::size_t i = 0; i < count; ++i) {
        std::int16_t sample;
        std::memcpy(&sample, data.constData() + 2 * i, sizeof sample);
        if (std::abs(static_cast<int>(sample)) > 32768 / 4) {
            // Everything read after it had been played by now: it played that much earlier.
            const auto after =
                std::chrono::duration<double>(static_cast<double>(count - i) / kRate);
            m_first = now - std::chrono::duration_cast<Clock::duration>(after);
            return;
        }
    }
}
