#pragma once

#include <QString>
#include <QTemporaryDir>

#include <optional>
#include <string>

// A private headless PulseAudio with the four typed devices, started through
// scripts/private-sound-server.sh; its client environment is set in this process.
class BenchServer {
public:
    BenchServer() = default;
    ~BenchServer();
    BenchServer(const BenchServer&) = delete;
    BenchServer& operator=(const BenchServer&) = delete;

    bool start();
    void stop();
    std::optional<long> pid() const;
    // A path inside the server's private directory.
    QString filePath(const QString& name) const { return m_dir.filePath(name); }
    // The server's user plus system CPU time so far, in seconds.
    std::optional<double> cpuSeconds() const;

private:
    QTemporaryDir m_dir;
    bool m_running = false;
};
