#include "ToneGenerator.h"

#include <cstdio>

ToneGenerator::ToneGenerator(ToneOutput& output, QObject* parent)
    : QObject(parent), m_output(output) {
    // The button shows "Testton" again, and the next press starts a new tone.
    m_output.setEndedHandler([this] {
        if (m_isPlaying) {
            m_output.stop();
            setPlaying(false);
        }
    });
}

ToneGenerator::~ToneGenerator() {
    m_output.setEndedHandler({});
    // Nothing may keep sounding once the window that started it is gone.
    if (m_isPlaying)
        m_output.stop();
}

void ToneGenerator::start() {
    if (m_isPlaying)
        return;
    // The buffer is made anew from the output's format of this moment.
    const auto format = m_output.format();
    if (!format) {
        reportFailure("no output device");
        return;
    }
    auto buffer = ToneBuffer::make(format->sampleRate, format->channels);
    if (!buffer)
        return; // a format no tone can be made in: nothing to play, nothing to report
    m_buffer = std::make_shared<const ToneBuffer>(std::move(*buffer));
    if (const auto error = m_output.play(m_buffer)) {
        reportFailure(*error);
        return;
    }
    setPlaying(true);
}

void ToneGenerator::reportFailure(const std::string& what) {
    std::printf("Brivello: engine start failed: %s\n", what.c_str());
    std::fflush(stdout);
}

void ToneGenerator::stop() {
    if (!m_isPlaying)
        return;
    m_output.stop();
    setPlaying(false);
}

void ToneGenerator::setPlaying(bool playing) {
    if (m_isPlaying == playing)
        return;
    m_isPlaying = playing;
    emit isPlayingChanged();
}
