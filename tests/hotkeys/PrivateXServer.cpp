#include "PrivateXServer.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <csignal>
#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

PrivateXServer::PrivateXServer() {
    int pipeFds[2];
    if (::pipe(pipeFds) != 0)
        return;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(pipeFds[0]);
        const std::string fd = std::to_string(pipeFds[1]);
        // Xvfb writes the display number it chose to the descriptor, once it accepts clients.
        ::execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-nolisten", "tcp", "-screen", "0",
                 "640x480x24", static_cast<char*>(nullptr));
        ::_exit(127);
    }
    ::close(pipeFds[1]);
    if (pid < 0) {
        ::close(pipeFds[0]);
        return;
    }
    m_pid = pid;
    char buffer[32] = {};
    std::size_t length = 0;
    while (length < sizeof buffer - 1) {
        const ssize_t n = ::read(pipeFds[0], buffer + length, sizeof buffer - 1 - length);
        if (n <= 0)
            break;
        length += static_cast<std::size_t>(n);
        if (buffer[length - 1] == '\n')
            break;
    }
    ::close(pipeFds[0]);
    const QString number = QString::fromLatin1(buffer, static_cast<qsizetype>(length)).trimmed();
    if (!number.isEmpty())
        m_display = QStringLiteral(":") + number;
}

PrivateXServer::~PrivateXServer() {
    if (m_pid <= 0)
        return;
    ::kill(m_pid, SIGTERM);
    int status = 0;
    ::waitpid(m_pid, &status, 0);
}

QString PrivateXServer::run(const QString& program, const QStringList& arguments) const {
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), m_display);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(10000) || process.exitCode() != 0)
        return {};
    return QString::fromLocal8Bit(process.readAllStandardOutput());
}
