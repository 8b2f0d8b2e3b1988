#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <string>
#include <vector>

// A private headless sound server for one test, started through scripts/private-sound-server.sh:
// PulseAudio, or PipeWire's pipewire-pulse when BRIVELLO_TEST_SOUND_SERVER=pipewire.
// Its client environment is set in this process, so every client here and every child process
// talks to it and never to the user's own server. Stopped by its process ids.
class PrivateSoundServer {
public:
    PrivateSoundServer();
    ~PrivateSoundServer();
    PrivateSoundServer(const PrivateSoundServer&) = delete;
    PrivateSoundServer& operator=(const PrivateSoundServer&) = delete;

    // Whether this run's tests get PipeWire rather than PulseAudio.
    static bool isPipeWire();

    // With the typed devices: a Bluetooth, a USB, a built-in and an HDMI sink.
    bool start(bool withDevices = true);
    void stop();

    // pactl's standard output; empty when it failed.
    QString pactl(const QStringList& arguments, bool* ok = nullptr);
    std::vector<std::string> sinkNames();
    std::string defaultSink();
    // `pactl list short modules`, one line per module.
    QStringList modules();
    // Loads a null sink with sound-card properties; the module index, or -1.
    int loadSink(const std::string& name, const std::string& description,
                 const std::string& extraProperties = {});

    QString directory() const { return m_dir->path(); }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    bool m_running = false;
};
