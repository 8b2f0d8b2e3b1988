#pragma once

#include "LevelSource.h"

#include <QTimer>

#include <chrono>
#include <map>
#include <memory>
#include <mutex>

class PulseConnection;
class PulseStream;

// Levels measured by the server: a peak-detecting record stream on each watched sink's monitor,
// read 25 times a second on the main thread. A stream that ends (its device left, or the server)
// is made again once a second until it runs, so a meter comes back with its device.
class PulseLevelSource : public LevelSource {
public:
    // `connection` must outlive the source.
    explicit PulseLevelSource(PulseConnection& connection, QObject* parent = nullptr);
    ~PulseLevelSource() override;

    void watch(const std::set<std::string>& uids) override;
    double level(const std::string& uid) const override;

    static constexpr int kPeaksPerSecond = 25;
    static constexpr std::chrono::milliseconds kReattachInterval{1000};

private:
    using Clock = std::chrono::steady_clock;
    struct Meter {
        std::unique_ptr<PulseStream> stream;
        double shown = 0;
        Clock::time_point lastAttempt;
    };
    void tick();
    void attach(const std::string& uid, Meter& meter);

    PulseConnection& m_connection;
    std::map<std::string, Meter> m_meters;
    QTimer m_clock;
    // Filled on libpulse's thread: each device's highest peak since the last tick.
    std::mutex m_mutex;
    std::map<std::string, float> m_peaks;
};
