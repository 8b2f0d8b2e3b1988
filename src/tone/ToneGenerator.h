#pragma once

#include "ToneOutput.h"

#include <QObject>

#include <memory>
#include <string>

// The window's test tone: starts and stops a 440 Hz sine on the system's default output, so while
// a zone plays the tone is heard on every device of it. `isPlaying` is true from a successful
// start until stop, or until the output ends the tone by itself (a sound server that went away).
class ToneGenerator : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY isPlayingChanged)
public:
    // `output` must outlive the generator.
    explicit ToneGenerator(ToneOutput& output, QObject* parent = nullptr);
    ~ToneGenerator() override;

    bool isPlaying() const { return m_isPlaying; }

    // Does nothing while playing. A failure prints one line and leaves the generator idle, so
    // the next start tries again.
    Q_INVOKABLE void start();
    // Does nothing while idle.
    Q_INVOKABLE void stop();

signals:
    void isPlayingChanged();

private:
    void setPlaying(bool playing);
    static void reportFailure(const std::string& what);

    ToneOutput& m_output;
    std::shared_ptr<const ToneBuffer> m_buffer; // the last one made, kept until the next start
    bool m_isPlaying = false;
};
