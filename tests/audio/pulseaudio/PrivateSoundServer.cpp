#include "PrivateSoundServer.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>

#include <cstdlib>

namespace {

const QString kScript = QStringLiteral(BRIVELLO_SOURCE_DIR "/scripts/private-sound-server.sh");

} // namespace

PrivateSoundServer::PrivateSoundServer() : m_dir(std::make_unique<QTemporaryDir>()) {}

PrivateSoundServer::~PrivateSoundServer() {
    stop();
}

bool PrivateSoundServer::isPipeWire() {
    return qgetenv("BRIVELLO_TEST_SOUND_SERVER") == "pipewire";
}

bool PrivateSoundServer::start(bool withDevices) {
    QProcess script;
    QStringList arguments{QStringLiteral("start"), m_dir->path()};
    if (isPipeWire())
        arguments << QStringLiteral("--server") << QStringLiteral("pipewire");
    if (withDevices)
        arguments << QStringLiteral("--with-devices");
    // A test that dies before its destructor runs must not leave its server running.
    arguments << QStringLiteral("--owner") << QString::number(QCoreApplication::applicationPid());
    script.start(kScript, arguments);
    if (!script.waitForFinished(10000) || script.exitCode() != 0)
        return false;
    m_running = true;
    static const QRegularExpression exportLine(QStringLiteral("^export (\\w+)='(.*)'$"));
    for (const auto& line : QString::fromUtf8(script.readAllStandardOutput()).split('\n')) {
        const auto match = exportLine.match(line.trimmed());
        if (match.hasMatch())
            qputenv(match.captured(1).toUtf8().constData(), match.captured(2).toUtf8());
    }
    return true;
}

void PrivateSoundServer::stop() {
    if (!m_running)
        return;
    m_running = false;
    QProcess::execute(kScript, {QStringLiteral("stop"), m_dir->path()});
}

QString PrivateSoundServer::pactl(const QStringList& arguments, bool* ok) {
    QProcess process;
    process.start(QStringLiteral("pactl"), arguments);
    const bool finished = process.waitForFinished(5000) && process.exitCode() == 0;
    if (ok)
        *ok = finished;
    return finished ? QString::fromUtf8(process.readAllStandardOutput()) : QString();
}

std::vector<std::string> PrivateSoundServer::sinkNames() {
    std::vector<std::string> names;
    for (const auto& line : pactl({"list", "short", "sinks"}).split('\n', Qt::SkipEmptyParts)) {
        const auto fields = line.split('\t');
        if (fields.size() > 1)
            names.push_back(fields[1].toStdString());
    }
    return names;
}

std::string PrivateSoundServer::defaultSink() {
    return pactl({"get-default-sink"}).trimmed().toStdString();
}

QStringList PrivateSoundServer::modules() {
    return pactl({"list", "short", "modules"}).split('\n', Qt::SkipEmptyParts);
}

int PrivateSoundServer::loadSink(const std::string& name, const std::string& description,
                                 const std::string& extraProperties) {
    const auto properties =
        "device.description='" + description + "' device.class=sound " + extraProperties;
    bool ok = false;
    const auto index =
        pactl({"load-module", "module-null-sink", QString::fromStdString("sink_name=" + name),
               QString::fromStdString("sink_properties=\"" + properties + "\"")},
              &ok);
    return ok ? index.trimmed().toInt() : -1;
}
