#include "PulseToneOutput.h"

#include "PulseConnection.h"
#include "PulseStream.h"

#include <algorithm>
#include <cstring>

PulseToneOutput::PulseToneOutput(PulseConnection& connection)
    : m_connection(connection), m_mainThread(std::make_unique<QObject>()) {}

// The stream goes first: until it is gone libpulse's thread may still post its end.
PulseToneOutput::~PulseToneOutput() {
    m_stream.reset();
}

std::optional<ToneOutput::Format> PulseToneOutput::format() {
    const PulseConnection::Budget within(m_connection, kBudget);
    const auto name = m_connection.defaultSinkName();
    if (!name)
        return std::nullopt;
    const auto sink = m_connection.sink(*name);
    if (!sink)
        return std::nullopt;
    return Format{static_cast<double>(sink->rate), sink->channels};
}

std::optional<std::string> PulseToneOutput::play(std::shared_ptr<const ToneBuffer> buffer) {
    stop();
    if (buffer->channels > PA_CHANNELS_MAX)
        return std::string("too many channels");
    const pa_sample_spec sampleFormat{PA_SAMPLE_FLOAT32NE,
                                      static_cast<std::uint32_t>(buffer->sampleRate),
                                      static_cast<std::uint8_t>(buffer->channels)};
    // libpulse's thread copies the looping buffer out; only it touches `position`.
    auto fill = [buffer, position = std::size_t{0}](void* data, std::size_t bytes) mutable {
        auto* out = static_cast<char*>(data);
        const std::size_t total = buffer->samples.size() * sizeof(float);
        while (bytes > 0) {
            const std::size_t part = std::min(bytes, total - position);
            std::memcpy(out, reinterpret_cast<const char*>(buffer->samples.data()) + position,
                        part);
            out += part;
            bytes -= part;
            position = (position + part) % total;
        }
    };
    const unsigned generation = ++m_generation;
    auto onEnded = [this, generation] {
        QMetaObject::invokeMethod(
            m_mainThread.get(),
            [this, generation] {
                if (generation == m_generation && m_stream) {
                    m_stream.reset();
                    ended();
                }
            },
            Qt::QueuedConnection);
    };
    const PulseConnection::Budget within(m_connection, kBudget);
    auto started =
        PulseStream::play(m_connection, sampleFormat, std::move(fill), std::move(onEnded));
    if (!started.stream)
        return started.error;
    m_stream = std::move(started.stream);
    return std::nullopt;
}

void PulseToneOutput::stop() {
    ++m_generation;
    m_stream.reset();
}
