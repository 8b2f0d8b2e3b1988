#include "PulseStream.h"

#include "LoopDeadline.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

bool isReady(pa_context* context) {
    return context && pa_context_get_state(context) == PA_CONTEXT_READY;
}

} // namespace

PulseStream::~PulseStream() {
    LoopLock lock(m_connection.m_loop);
    release();
}

void PulseStream::release() {
    if (!m_stream)
        return;
    pa_stream_set_state_callback(m_stream, nullptr, nullptr);
    pa_stream_set_write_callback(m_stream, nullptr, nullptr);
    pa_stream_set_read_callback(m_stream, nullptr, nullptr);
    if (PA_STREAM_IS_GOOD(pa_stream_get_state(m_stream)))
        pa_stream_disconnect(m_stream);
    pa_stream_unref(m_stream);
    m_stream = nullptr;
    m_ended = true;
}

void PulseStream::onState(pa_stream* stream, void* self) {
    auto* s = static_cast<PulseStream*>(self);
    if (!PA_STREAM_IS_GOOD(pa_stream_get_state(stream)) && !s->m_ended.exchange(true) &&
        s->m_onEnded)
        s->m_onEnded();
    pa_threaded_mainloop_signal(s->m_connection.m_loop, 0);
}

void PulseStream::onWrite(pa_stream* stream, std::size_t bytes, void* self) {
    auto* s = static_cast<PulseStream*>(self);
    const std::size_t frame = pa_frame_size(pa_stream_get_sample_spec(stream));
    while (bytes >= frame) {
        void* data = nullptr;
        std::size_t size = bytes;
        if (pa_stream_begin_write(stream, &data, &size) < 0 || !data)
            return;
        size = std::min(size, bytes);
        size -= size % frame;
        if (size == 0) {
            pa_stream_cancel_write(stream);
            return;
        }
        s->m_fill(data, size);
        if (pa_stream_write(stream, data, size, nullptr, 0, PA_SEEK_RELATIVE) < 0)
            return;
        bytes -= size;
    }
}

void PulseStream::onRead(pa_stream* stream, std::size_t, void* self) {
    auto* s = static_cast<PulseStream*>(self);
    while (pa_stream_readable_size(stream) > 0) {
        const void* data = nullptr;
        std::size_t bytes = 0;
        if (pa_stream_peek(stream, &data, &bytes) < 0 || bytes == 0)
            return;
        // No data with a size is a hole in the stream: nothing was measured there.
        if (data) {
            float peak = 0;
            const auto* samples = static_cast<const float*>(data);
            for (std::size_t i = 0; i < bytes / sizeof(float); ++i)
                peak = std::max(peak, std::abs(samples[i]));
            s->m_onPeak(peak);
        }
        pa_stream_drop(stream);
    }
}

PulseStream::Started PulseStream::play(PulseConnection& connection,
                                       const pa_sample_spec& sampleFormat, Fill fill,
                                       Ended onEnded) {
    LoopLock lock(connection.m_loop);
    if (!isReady(connection.m_context))
        return {nullptr, "no connection to the sound server"};
    const auto deadline = connection.requestDeadline();
    if (PulseConnection::Clock::now() >= deadline) {
        connection.loseConnection();
        return {nullptr, "the sound server did not answer"};
    }
    std::unique_ptr<PulseStream> stream(new PulseStream(connection));
    auto fail = [&] {
        const std::string error = pa_strerror(pa_context_errno(connection.m_context));
        stream->release();
        return Started{nullptr, error};
    };
    stream->m_fill = std::move(fill);
    stream->m_onEnded = std::move(onEnded);
    stream->m_stream = pa_stream_new(connection.m_context, "Testton", &sampleFormat, nullptr);
    if (!stream->m_stream)
        return fail();
    pa_stream_set_state_callback(stream->m_stream, &PulseStream::onState, stream.get());
    pa_stream_set_write_callback(stream->m_stream, &PulseStream::onWrite, stream.get());
    // A fifth of a second ahead: the tone stops soon after it is stopped and moves quickly with
    // the default, at a handful of wake-ups a second.
    pa_buffer_attr attributes;
    attributes.maxlength = static_cast<std::uint32_t>(-1);
    attributes.tlength = static_cast<std::uint32_t>(pa_usec_to_bytes(200'000, &sampleFormat));
    attributes.prebuf = static_cast<std::uint32_t>(-1);
    attributes.minreq = static_cast<std::uint32_t>(-1);
    attributes.fragsize = static_cast<std::uint32_t>(-1);
    // No sink named: the default one, and the next default when it changes.
    if (pa_stream_connect_playback(stream->m_stream, nullptr, &attributes, PA_STREAM_ADJUST_LATENCY,
                                   nullptr, nullptr) < 0)
        return fail();
    bool timedOut = false;
    {
        const LoopDeadline timer(&connection, connection.m_context, connection.m_loop, deadline);
        while (pa_stream_get_state(stream->m_stream) == PA_STREAM_CREATING) {
            if (timer.passed()) {
                timedOut = true;
                break;
            }
            pa_threaded_mainloop_wait(connection.m_loop);
        }
    }
    if (pa_stream_get_state(stream->m_stream) == PA_STREAM_READY)
        return {std::move(stream), {}};
    if (timedOut) {
        stream->release();
        connection.loseConnection();
        return {nullptr, "the sound server did not answer"};
    }
    return fail();
}

std::unique_ptr<PulseStream> PulseStream::peaks(PulseConnection& connection,
                                                const std::string& source, Peak onPeak) {
    return record(connection, source, std::move(onPeak), true);
}

std::unique_ptr<PulseStream> PulseStream::keepAwake(PulseConnection& connection,
                                                    const std::string& source) {
    return record(
        connection, source, [](float) {}, false);
}

std::unique_ptr<PulseStream> PulseStream::record(PulseConnection& connection,
                                                 const std::string& source, Peak onPeak,
                                                 bool letSuspend) {
    LoopLock lock(connection.m_loop);
    if (!isReady(connection.m_context))
        return nullptr;
    std::unique_ptr<PulseStream> stream(new PulseStream(connection));
    stream->m_onPeak = std::move(onPeak);
    // The server measures: at a rate of 25 Hz every sample it sends is the peak of 40 ms.
    const pa_sample_spec sampleFormat{PA_SAMPLE_FLOAT32NE, 25, 1};
    stream->m_stream = pa_stream_new(connection.m_context, "Pegel", &sampleFormat, nullptr);
    if (!stream->m_stream)
        return nullptr;
    pa_stream_set_state_callback(stream->m_stream, &PulseStream::onState, stream.get());
    pa_stream_set_read_callback(stream->m_stream, &PulseStream::onRead, stream.get());
    pa_buffer_attr attributes;
    std::memset(&attributes, 0xff, sizeof attributes); // every field the server's choice …
    attributes.fragsize = sizeof(float);               // … but one peak at a time
    auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_PEAK_DETECT | PA_STREAM_ADJUST_LATENCY |
                                                PA_STREAM_DONT_MOVE);
    if (letSuspend)
        flags = static_cast<pa_stream_flags_t>(flags | PA_STREAM_DONT_INHIBIT_AUTO_SUSPEND);
    if (pa_stream_connect_record(stream->m_stream, source.c_str(), &attributes, flags) < 0)
        stream->release();
    return stream;
}
