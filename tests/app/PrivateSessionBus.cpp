#include "PrivateSessionBus.h"

#include <QFile>

PrivateSessionBus::~PrivateSessionBus() {
    if (m_daemon.state() == QProcess::NotRunning)
        return;
    m_daemon.terminate();
    m_daemon.waitForFinished(5000);
}

bool PrivateSessionBus::start() {
    QFile config(m_dir.filePath(QStringLiteral("bus.conf")));
    if (!m_dir.isValid() || !config.open(QIODevice::WriteOnly))
        return false;
    config.write(QStringLiteral(R"(<busconfig>
  <type>session</type>
  <listen>unix:path=%1</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)")
                     .arg(m_dir.filePath(QStringLiteral("bus")))
                     .toUtf8());
    config.close();
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--config-file=") + config.fileName(),
                    QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                    QStringLiteral("--print-address")});
    // The address is printed once the daemon listens.
    while (!m_daemon.canReadLine())
        if (!m_daemon.waitForReadyRead(5000))
            return false;
    m_address = m_daemon.readLine().trimmed();
    return !m_address.isEmpty();
}
