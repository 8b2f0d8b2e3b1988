#pragma once

#include "PulseConnection.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

// One stream on a connection's context: a sound played to the server's default output, or the
// peaks of a source. Its callbacks run on libpulse's thread with the loop locked and must only
// hand their work on. A stream lives as long as the context it was made on: once the connection
// is lost or made anew it has ended, and a new one must be made. It must not outlive its
// connection.
class PulseStream {
public:
    // Writes exactly `bytes` bytes, whole frames, into `data`.
    using Fill = std::function<void(void* data, std::size_t bytes)>;
    using Peak = std::function<void(float)>;
    using Ended = std::function<void()>;

    struct Started {
        std::unique_ptr<PulseStream> stream; // absent on failure
        std::string error;                   // the server's reason, on failure
    };

    ~PulseStream();
    PulseStream(const PulseStream&) = delete;
    PulseStream& operator=(const PulseStream&) = delete;

    // Plays what `fill` writes on the default output, following the default when it changes.
    // Waits until it plays, as long as a request of the connection would. `onEnded` runs when
    // the stream ends by itself (the server went away or refused it later), not when it is
    // destroyed.
    static Started play(PulseConnection& connection, const pa_sample_spec& sampleFormat, Fill fill,
                        Ended onEnded);
    // About 25 peaks a second of `source` (a sink's monitor), one float each, in the smallest
    // fragments the server allows. It keeps no sink awake and does not follow a source that is
    // moved. Never waits: whether it runs shows later; absent without a connection.
    static std::unique_ptr<PulseStream> peaks(PulseConnection& connection,
                                              const std::string& source, Peak onPeak);
    // The same peaks, thrown away: the sink whose monitor `source` is wakes up from suspension
    // and stays awake while the stream lives.
    static std::unique_ptr<PulseStream> keepAwake(PulseConnection& connection,
                                                  const std::string& source);

    // Failed or terminated, by the server, with its context, or never started.
    bool ended() const { return m_ended; }

private:
    explicit PulseStream(PulseConnection& connection) : m_connection(connection) {}
    static std::unique_ptr<PulseStream>
    record(PulseConnection& connection, const std::string& source, Peak onPeak, bool letSuspend);
    // With the loop locked: no more callbacks, and the stream let go of.
    void release();
    static void onState(pa_stream* stream, void* self);
    static void onWrite(pa_stream* stream, std::size_t bytes, void* self);
    static void onRead(pa_stream* stream, std::size_t bytes, void* self);

    PulseConnection& m_connection;
    pa_stream* m_stream = nullptr;
    Fill m_fill;
    Peak m_onPeak;
    Ended m_onEnded;
    std::atomic<bool> m_ended{false};
};
