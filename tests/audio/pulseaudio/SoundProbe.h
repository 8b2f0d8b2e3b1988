#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryFile>

#include <memory>
#include <optional>
#include <vector>

// Records a source of the server (a sink's monitor) as 16-bit samples through parec: one channel
// is the front left, four are the quad layout.
class MonitorRecording {
public:
    static constexpr int kRate = 48000;

    MonitorRecording(const QString& source, int channels);
    ~MonitorRecording();
    // Samples of one channel, scaled to -1…1; ends the recording on the first call.
    std::vector<float> channel(int index);

private:
    void finish();

    QTemporaryFile m_file;
    std::unique_ptr<QProcess> m_process;
    int m_channels;
    std::vector<float> m_interleaved;
};

// Plays `seconds` of silence followed by `toneSeconds` of a 440 Hz tone to the default sink
// (or `sink`), and waits for the end.
bool playTone(double silenceSeconds, double toneSeconds, const QString& sink = {});

// The amplitude (0…1) of the 440 Hz component, by Goertzel over the whole signal's loudest second.
double toneAmplitude(const std::vector<float>& samples, double frequency = 440.0);

// The time (s) of the first sample louder than `threshold` that starts a tone of `frequency`.
std::optional<double> onsetSeconds(const std::vector<float>& samples, float threshold = 0.05f,
                                   double frequency = 440.0);
