#pragma once

#include <QByteArray>
#include <QProcess>
#include <QTemporaryDir>

// A dbus-daemon of the test's own, with no services to start on demand, so no desktop service
// of the machine answers on it. Stopped with this object.
class PrivateSessionBus {
public:
    PrivateSessionBus() = default;
    ~PrivateSessionBus();
    PrivateSessionBus(const PrivateSessionBus&) = delete;
    PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

    // Starts the daemon and waits until it listens; false when it could not.
    bool start();
    // The address to put in DBUS_SESSION_BUS_ADDRESS.
    QByteArray address() const { return m_address; }

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QByteArray m_address;
};
