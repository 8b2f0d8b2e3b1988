#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>

#include <chrono>
#include <optional>

// When sound first reaches a sink, read from its monitor as it arrives (parec, 20 ms fragments).
// Recording the monitor keeps that sink awake, never the sinks that feed it.
class SoundArrival {
public:
    using Clock = std::chrono::steady_clock;

    explicit SoundArrival(const QString& sink);
    ~SoundArrival();
    SoundArrival(const SoundArrival&) = delete;
    SoundArrival& operator=(const SoundArrival&) = delete;

    // Forgets what has come so far, sound or not.
    void skip();
    // Reads what has come; call it often.
    void poll();
    // When the first sample louder than a quarter of full scale was played, at the latest.
    std::optional<Clock::time_point> first() const { return m_first; }

private:
    static constexpr int kRate = 48000;
    QProcess m_parec;
    QByteArray m_pending; // an odd byte waits for its other half
    std::optional<Clock::time_point> m_first;
};
