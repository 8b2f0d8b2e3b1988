#pragma once

#include <QString>
#include <QStringList>

#include <sys/types.h>

// A private headless X server (Xvfb) for one test, on a display number the server picks itself,
// so tests never touch a user's display and can run side by side.
class PrivateXServer {
public:
    PrivateXServer();
    ~PrivateXServer();
    PrivateXServer(const PrivateXServer&) = delete;
    PrivateXServer& operator=(const PrivateXServer&) = delete;

    bool isRunning() const { return !m_display.isEmpty(); }
    // ":N", or empty when the server did not start.
    const QString& display() const { return m_display; }

    // Runs an X client program (xdotool, …) on this display and returns its standard output;
    // absent output when it failed.
    QString run(const QString& program, const QStringList& arguments) const;

private:
    pid_t m_pid = -1;
    QString m_display;
};
