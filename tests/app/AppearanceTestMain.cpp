#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

#include <gtest/gtest.h>

#ifndef Q_OS_DARWIN
namespace {

// A dbus-daemon of the test's own that starts no services on demand, so nothing of the machine
// answers on it; its address, or nothing when it did not start.
QByteArray startPrivateSessionBus(QProcess& daemon, const QTemporaryDir& dir) {
    QFile config(dir.filePath(QStringLiteral("bus.conf")));
    if (!dir.isValid() || !config.open(QIODevice::WriteOnly))
        return {};
    config.write(QStringLiteral("<busconfig><type>session</type><listen>unix:path=%1</listen>"
                                "<policy context=\"default\"><allow send_destination=\"*\" "
                                "eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                                "<allow own=\"*\"/></policy></busconfig>")
                     .arg(dir.filePath(QStringLiteral("bus")))
                     .toUtf8());
    config.close();
    daemon.start(QStringLiteral("dbus-daemon"),
                 {QStringLiteral("--config-file=") + config.fileName(), QStringLiteral("--nofork"),
                  QStringLiteral("--nopidfile"), QStringLiteral("--print-address")});
    // The address is printed once the daemon listens.
    while (!daemon.canReadLine())
        if (!daemon.waitForReadyRead(5000))
            return {};
    return daemon.readLine().trimmed();
}

} // namespace
#endif

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
#ifndef Q_OS_DARWIN
    // The session bus is the test's own before anything connects to one; the stand-in portals
    // register there.
    QTemporaryDir busDir;
    QProcess busDaemon;
    const QByteArray bus = startPrivateSessionBus(busDaemon, busDir);
    if (bus.isEmpty()) {
        std::fprintf(stderr, "appearance tests: dbus-daemon did not start\n");
        return 1;
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
#endif
    QGuiApplication app(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
#ifndef Q_OS_DARWIN
    // Asked to stop, the daemon says goodbye on every connection, which libdbus wants to see.
    busDaemon.terminate();
    busDaemon.waitForFinished();
#endif
    return result;
}
