#pragma once

#include "ToneBuffer.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

// Where the test tone plays: the system's default output, whichever device that is now or later.
// One implementation per platform; all calls on the main thread.
class ToneOutput {
public:
    struct Format {
        double sampleRate = 0;
        std::uint32_t channels = 0;
    };

    virtual ~ToneOutput() = default;

    // The format the tone should be made in for the default output as it is now; absent when
    // there is no output to ask.
    virtual std::optional<Format> format() = 0;
    // Plays `buffer` in a loop until stop(); the platform's description of what failed, else none.
    virtual std::optional<std::string> play(std::shared_ptr<const ToneBuffer> buffer) = 0;
    virtual void stop() = 0;

    // Runs on the main thread when a tone that played has ended by itself, because the output
    // went away (a sound server that stopped); the next play() starts afresh.
    void setEndedHandler(std::function<void()> handler) { m_onEnded = std::move(handler); }

protected:
    void ended() {
        if (m_onEnded)
            m_onEnded();
    }

private:
    std::function<void()> m_onEnded;
};
