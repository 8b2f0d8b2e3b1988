#include "SingleInstance.h"

#include <QDir>
#include <QStandardPaths>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

SingleInstance::SingleInstance(QString directory) : m_directory(std::move(directory)) {}

SingleInstance::~SingleInstance() {
    release();
}

QString SingleInstance::runtimeDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
}

QString SingleInstance::socketPath() const {
    return QDir(m_directory).filePath(QStringLiteral("brivello.socket"));
}

SingleInstance::Claim SingleInstance::claim() {
    if (m_lock >= 0)
        return Claim::won;
    if (m_directory.isEmpty())
        return Claim::impossible; // Qt found or made no runtime directory
    const QByteArray path = QFile::encodeName(QDir(m_directory).filePath("brivello.lock"));
    // Close-on-exec: a program Brivello starts must not keep the lock after Brivello ends.
    const int file = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0)
        return Claim::impossible;
    if (::flock(file, LOCK_EX | LOCK_NB) != 0) {
        const bool taken = errno == EWOULDBLOCK;
        ::close(file);
        return taken ? Claim::taken : Claim::impossible;
    }
    m_lock = file;
    return Claim::won;
}

void SingleInstance::release() {
    if (m_lock < 0)
        return;
    ::close(m_lock); // closing the only descriptor ends the flock
    m_lock = -1;
}
