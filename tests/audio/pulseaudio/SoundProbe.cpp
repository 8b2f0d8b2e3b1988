#include "SoundProbe.h"

#include <QThread>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>

MonitorRecording::MonitorRecording(const QString& source, int channels) : m_channels(channels) {
    // Straight into a file: a pipe that nobody drains while the test blocks would make parec drop.
    m_file.open();
    m_process.setStandardOutputFile(m_file.fileName());
    // Four channels are the quad layout of the shared-clock sink, never a remix. One is the left
    // channel as it is: a mono downmix is an average on PulseAudio, 3 dB more on PipeWire.
    m_process.start("parec",
                    {"--device=" + source, "--format=s16le", QString("--rate=%1").arg(kRate),
                     QString("--channels=%1").arg(channels), "--latency-msec=20",
                     channels == 4 ? "--channel-map=front-left,front-right,rear-left,rear-right"
                                   : "--channel-map=front-left"});
    m_process.waitForStarted(3000);
    QThread::msleep(300); // the stream is connected and running before anything is played
}

std::vector<float> MonitorRecording::channel(int index) {
    if (m_process.state() != QProcess::NotRunning) {
        m_process.terminate();
        m_process.waitForFinished(3000);
    }
    m_file.seek(0);
    const QByteArray raw = m_file.readAll();
    const auto* samples = reinterpret_cast<const std::int16_t*>(raw.constData());
    std::vector<float> result;
    for (auto i = static_cast<qsizetype>(index); i < raw.size() / 2; i += m_channels)
        result.push_back(static_cast<float>(samples[i]) / 32768.0f);
    return result;
}

void startTone(QProcess& player, double silenceSeconds, double toneSeconds, const QString& sink) {
    const QString device = sink.isEmpty() ? QString() : "--device=" + sink;
    player.start(
        "sh", {"-c", QString::asprintf("sox -n -r %d -c 2 -b 16 -t wav - synth %g sine 440 vol 0.5 "
                                       "pad %g 0 2>/dev/null | exec pacat --file-format=wav %s",
                                       MonitorRecording::kRate, toneSeconds, silenceSeconds,
                                       qPrintable(device))});
    player.waitForStarted();
}

namespace {

// The amplitude (0…1) of 440 Hz in `count` samples from `start`, by Goertzel.
double amplitudeAt(const std::vector<float>& samples, std::size_t start, std::size_t count) {
    const double coefficient =
        2.0 * std::cos(2.0 * std::numbers::pi * 440.0 / MonitorRecording::kRate);
    double s1 = 0, s2 = 0;
    for (std::size_t i = start; i < start + count; ++i)
        s2 = std::exchange(s1, samples[i] + coefficient * s1 - s2);
    const double power = s1 * s1 + s2 * s2 - coefficient * s1 * s2;
    return 2.0 * std::sqrt(std::max(power, 0.0)) / static_cast<double>(count);
}

} // namespace

double toneAmplitude(const std::vector<float>& samples) {
    const std::size_t window = MonitorRecording::kRate / 10;
    double best = 0;
    for (std::size_t start = 0; start + window <= samples.size(); start += window)
        best = std::max(best, amplitudeAt(samples, start, window));
    return best;
}

std::optional<double> onsetSeconds(const std::vector<float>& samples, float threshold) {
    const auto all = onsetsSeconds(samples, static_cast<double>(samples.size()), threshold);
    return all.empty() ? std::nullopt : std::optional(all.front());
}

std::vector<double> onsetsSeconds(const std::vector<float>& samples, double gapSeconds,
                                  float threshold) {
    // A click or a burst of noise is loud as well: the onset is the loud sample the tone follows.
    const std::size_t window = MonitorRecording::kRate / 20;
    const auto gap = static_cast<std::size_t>(gapSeconds * MonitorRecording::kRate);
    std::vector<double> onsets;
    for (std::size_t i = 0; i + window <= samples.size(); ++i) {
        if (std::abs(samples[i]) > threshold && amplitudeAt(samples, i, window) > 4.0 * threshold) {
            onsets.push_back(static_cast<double>(i) / MonitorRecording::kRate);
            i += std::max<std::size_t>(gap, 1) - 1;
        }
    }
    return onsets;
}
