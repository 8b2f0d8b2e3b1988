#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryFile>

#include <optional>
#include <vector>

// Records a source of the server (a sink's monitor) as 16-bit samples through parec: one channel
// is the front left, four are the quad layout.
class MonitorRecording {
public:
    static constexpr int kRate = 48000;

    explicit MonitorRecording(const QString& source, int channels = 1);
    // Samples of one channel, scaled to -1…1; ends the recording on the first call.
    std::vector<float> channel(int index);

private:
    QTemporaryFile m_file;
    QProcess m_process;
    int m_channels;
};

// Starts `silenceSeconds` of silence followed by `toneSeconds` of a half-scale 440 Hz tone, played
// as a music player would: to the default sink, or pinned to `sink`.
void startTone(QProcess& player, double silenceSeconds, double toneSeconds,
               const QString& sink = {});

// The amplitude (0…1) of the 440 Hz tone in the loudest tenth of a second.
double toneAmplitude(const std::vector<float>& samples);

// The time (s) of the first sample louder than `threshold` that starts a 440 Hz tone.
std::optional<double> onsetSeconds(const std::vector<float>& samples, float threshold = 0.05f);
// The times (s) of every tone's start, each one at least `gapSeconds` after the one before.
std::vector<double> onsetsSeconds(const std::vector<float>& samples, double gapSeconds,
                                  float threshold = 0.05f);
