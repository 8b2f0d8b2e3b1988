#include "SoundProbe.h"

#include <QDir>
#include <QTemporaryFile>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>

MonitorRecording::MonitorRecording(const QString& source, int channels)
    : m_process(std::make_unique<QProcess>()), m_channels(channels) {
    // Straight into a file: a pipe that nobody drains while the test blocks would make parec drop.
    m_file.open();
    m_process->setStandardOutputFile(m_file.fileName());
    m_process->start(
        QStringLiteral("parec"),
        {QStringLiteral("--device=") + source, QStringLiteral("--format=s16le"),
         QStringLiteral("--rate=%1").arg(kRate), QStringLiteral("--channels=%1").arg(channels),
         QStringLiteral("--latency-msec=20"),
         // Four channels are the quad layout of the shared-clock sink, never a remix. One is the
         // left channel as it is: a mono downmix is an average on PulseAudio, 3 dB more on
         // PipeWire.
         channels == 4 ? QStringLiteral("--channel-map=front-left,front-right,rear-left,rear-right")
                       : QStringLiteral("--channel-map=front-left")});
    m_process->waitForStarted(3000);
    QThread::msleep(300); // the stream is connected and running before anything is played
}

MonitorRecording::~MonitorRecording() {
    finish();
}

void MonitorRecording::finish() {
    if (m_process->state() == QProcess::NotRunning)
        return;
    m_process->terminate();
    m_process->waitForFinished(3000);
    m_file.seek(0);
    const QByteArray raw = m_file.readAll();
    const auto count = static_cast<std::size_t>(raw.size()) / sizeof(std::int16_t);
    std::vector<std::int16_t> samples(count);
    std::memcpy(samples.data(), raw.constData(), count * sizeof(std::int16_t));
    m_interleaved.reserve(count);
    for (auto s : samples)
        m_interleaved.push_back(static_cast<float>(s) / 32768.0f);
}

std::vector<float> MonitorRecording::channel(int index) {
    finish();
    std::vector<float> result;
    for (std::size_t i = static_cast<std::size_t>(index); i < m_interleaved.size();
         i += static_cast<std::size_t>(m_channels))
        result.push_back(m_interleaved[i]);
    return result;
}

bool playTone(double silenceSeconds, double toneSeconds, const QString& sink) {
    QTemporaryFile file(QDir::tempPath() + QStringLiteral("/brivello-tone-XXXXXX.wav"));
    if (!file.open())
        return false;
    file.close();
    const int made = QProcess::execute(
        QStringLiteral("sox"),
        {QStringLiteral("-n"), QStringLiteral("-r"), QString::number(MonitorRecording::kRate),
         QStringLiteral("-c"), QStringLiteral("2"), QStringLiteral("-b"), QStringLiteral("16"),
         file.fileName(), QStringLiteral("synth"), QString::number(toneSeconds),
         QStringLiteral("sine"), QStringLiteral("440"), QStringLiteral("vol"),
         QStringLiteral("0.5"), QStringLiteral("pad"), QString::number(silenceSeconds),
         QStringLiteral("0")});
    if (made != 0)
        return false;
    QStringList arguments;
    if (!sink.isEmpty())
        arguments << QStringLiteral("--device=") + sink;
    arguments << file.fileName();
    return QProcess::execute(QStringLiteral("paplay"), arguments) == 0;
}

namespace {

// The amplitude (0…1) of `frequency` in `count` samples from `start`, by Goertzel.
double amplitudeAt(const std::vector<float>& samples, std::size_t start, std::size_t count,
                   double frequency) {
    const double w = 2.0 * std::numbers::pi * frequency / MonitorRecording::kRate;
    const double coefficient = 2.0 * std::cos(w);
    double s1 = 0, s2 = 0;
    for (std::size_t i = start; i < start + count; ++i) {
        const double s0 = samples[i] + coefficient * s1 - s2;
        s2 = s1;
        s1 = s0;
    }
    const double power = s1 * s1 + s2 * s2 - coefficient * s1 * s2;
    return 2.0 * std::sqrt(std::max(power, 0.0)) / static_cast<double>(count);
}

} // namespace

double toneAmplitude(const std::vector<float>& samples, double frequency) {
    const std::size_t window = MonitorRecording::kRate / 10;
    double best = 0;
    for (std::size_t start = 0; start + window <= samples.size(); start += window)
        best = std::max(best, amplitudeAt(samples, start, window, frequency));
    return best;
}

std::optional<double> onsetSeconds(const std::vector<float>& samples, float threshold,
                                   double frequency) {
    // A click or a burst of noise is loud as well: the onset is the loud sample the tone follows.
    const std::size_t window = MonitorRecording::kRate / 20;
    for (std::size_t i = 0; i + window <= samples.size(); ++i)
        if (std::abs(samples[i]) > threshold &&
            amplitudeAt(samples, i, window, frequency) > 4.0 * threshold)
            return static_cast<double>(i) / MonitorRecording::kRate;
    return std::nullopt;
}
