#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <string>

// A private headless sound server for one test, started through scripts/private-sound-server.sh:
// PulseAudio, or PipeWire's pipewire-pulse when BRIVELLO_TEST_SOUND_SERVER=pipewire.
// Its client environment is set in this process, so every client here and every child process
// talks to it and never to the user's own server. Stopped by its process ids.
class PrivateSoundServer {
public:
    ~PrivateSoundServer() { stop(); }

    static bool isPipeWire() { return qgetenv("BRIVELLO_TEST_SOUND_SERVER") == "pipewire"; }

    // With the typed devices: a Bluetooth, a USB, a built-in and an HDMI sink.
    bool start(bool withDevices = true);
    void stop();

    // pactl's standard output; empty when it failed.
    QString pactl(const QStringList& arguments);
    std::string defaultSink() { return pactl({"get-default-sink"}).trimmed().toStdString(); }
    // `pactl list short <what>`, one line per module, sink, …
    QStringList list(const char* what) {
        return pactl({"list", "short", what}).split('\n', Qt::SkipEmptyParts);
    }
    QStringList modules() { return list("modules"); }
    // Loads a module; its index, or -1.
    int loadModule(const QStringList& arguments);
    // Loads a null sink with sound-card properties; the module index, or -1.
    int loadSink(const std::string& name, const std::string& description,
                 const std::string& extraProperties = {});

    QString directory() const { return m_dir.path(); }
    // Stops and continues the process clients talk to (SIGSTOP, SIGCONT): a server that hangs.
    bool pause();
    bool resume();

private:
    QTemporaryDir m_dir;
    bool m_running = false;
};
