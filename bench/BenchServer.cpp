#include "BenchServer.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <unistd.h>

#ifndef BRIVELLO_SOURCE_DIR
#error "BRIVELLO_SOURCE_DIR must name the source tree"
#endif

namespace {

QString script() {
    return QStringLiteral(BRIVELLO_SOURCE_DIR "/scripts/private-sound-server.sh");
}

} // namespace

BenchServer::~BenchServer() {
    stop();
}

bool BenchServer::start() {
    if (!m_dir.isValid())
        return false;
    QProcess process;
    process.start(script(), {"start", m_dir.path(), "--with-devices"});
    if (!process.waitForFinished(15000) || process.exitCode() != 0)
        return false;
    // The script prints `export NAME='value'` lines for a client.
    static const QRegularExpression line(QStringLiteral("^export (\\w+)='([^']*)'$"));
    for (const auto& text : QString::fromUtf8(process.readAllStandardOutput()).split('\n')) {
        const auto match = line.match(text.trimmed());
        if (match.hasMatch())
            qputenv(match.captured(1).toUtf8().constData(), match.captured(2).toUtf8());
    }
    m_running = true;
    return true;
}

void BenchServer::stop() {
    if (!m_running)
        return;
    m_running = false;
    QProcess::execute(script(), {"stop", m_dir.path()});
}

std::optional<long> BenchServer::pid() const {
    QFile file(m_dir.filePath("pid"));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    bool ok = false;
    const long value = file.readAll().trimmed().toLong(&ok);
    return ok ? std::optional<long>(value) : std::nullopt;
}

std::optional<double> BenchServer::cpuSeconds() const {
    const auto id = pid();
    if (!id)
        return std::nullopt;
    QFile file(QStringLiteral("/proc/%1/stat").arg(*id));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    // Fields 14 and 15 (utime, stime) follow the command name, which ends at the last ')'.
    const QString stat = QString::fromLatin1(file.readAll());
    const auto fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 13)
        return std::nullopt;
    const double ticks = fields[11].toDouble() + fields[12].toDouble();
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}
