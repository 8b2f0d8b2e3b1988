#pragma once

#include "ToneOutput.h"

#include <QObject>

#include <chrono>
#include <memory>

class PulseConnection;
class PulseStream;

// The test tone on PulseAudio or PipeWire: a playback stream to the default sink on Brivello's
// own connection, so it follows the default when Brivello switches it. A server that goes away
// ends the tone; once the connection is back the next play() works again.
class PulseToneOutput : public ToneOutput {
public:
    // `connection` must outlive the output.
    explicit PulseToneOutput(PulseConnection& connection);
    ~PulseToneOutput() override;

    std::optional<Format> format() override;
    std::optional<std::string> play(std::shared_ptr<const ToneBuffer> buffer) override;
    void stop() override;

    // The longest play() or format() waits for the server.
    static constexpr std::chrono::milliseconds kBudget{800};

private:
    PulseConnection& m_connection;
    std::unique_ptr<PulseStream> m_stream;
    std::unique_ptr<QObject> m_mainThread; // receives the end of a tone from libpulse's thread
    unsigned m_generation = 0;             // tells an old stream's end from the current one's
};
