#include "PrivateSoundServer.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <csignal>

#include <utility>

namespace {

const QString kScript = QStringLiteral(BRIVELLO_SOURCE_DIR "/scripts/private-sound-server.sh");

} // namespace

bool PrivateSoundServer::start(bool withDevices) {
    // --owner: a test that dies before its destructor runs must not leave its server running.
    QStringList arguments{"start",    m_dir.path(),
                          "--server", isPipeWire() ? "pipewire" : "pulseaudio",
                          "--owner",  QString::number(QCoreApplication::applicationPid())};
    if (withDevices)
        arguments << "--with-devices";
    QProcess script;
    script.start(kScript, arguments);
    if (!script.waitForFinished(10000) || script.exitCode() != 0)
        return false;
    m_running = true;
    // Lines of the form export NAME='value'.
    for (const auto& line : QString::fromUtf8(script.readAllStandardOutput()).split('\n'))
        if (line.startsWith("export "))
            qputenv(line.section('=', 0, 0).mid(7).toUtf8(),
                    line.section('=', 1).mid(1).chopped(1).toUtf8());
    return true;
}

void PrivateSoundServer::stop() {
    if (std::exchange(m_running, false))
        QProcess::execute(kScript, {"stop", m_dir.path()});
}

QString PrivateSoundServer::pactl(const QStringList& arguments) {
    QProcess process;
    process.start("pactl", arguments);
    const bool done = process.waitForFinished(5000) && process.exitCode() == 0;
    return done ? QString::fromUtf8(process.readAllStandardOutput()) : QString();
}

int PrivateSoundServer::loadSink(const std::string& name, const std::string& description,
                                 const std::string& extraProperties) {
    const auto properties =
        "device.description='" + description + "' device.class=sound " + extraProperties;
    return loadModule({"module-null-sink", QString::fromStdString("sink_name=" + name),
                       QString::fromStdString("sink_properties=\"" + properties + "\"")});
}

int PrivateSoundServer::loadModule(const QStringList& arguments) {
    const auto index = pactl(QStringList{"load-module"} + arguments);
    return index.isEmpty() ? -1 : index.trimmed().toInt();
}

namespace {

bool signalServer(const QString& directory, int signal) {
    QFile file(directory + "/pid");
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const auto pid = QString::fromUtf8(file.readAll()).trimmed().toInt();
    return pid > 0 && ::kill(pid, signal) == 0;
}

} // namespace

bool PrivateSoundServer::pause() {
    return signalServer(m_dir.path(), SIGSTOP);
}

bool PrivateSoundServer::resume() {
    return signalServer(m_dir.path(), SIGCONT);
}
