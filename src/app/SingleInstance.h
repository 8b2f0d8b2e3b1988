#pragma once

#include <QString>

// One Brivello per user: whoever holds the lock file in the user's runtime directory is the
// running Brivello and listens on the control socket beside it; every later start hands its
// request over through that socket. The lock is the kernel's (flock), so it ends with its process
// whatever ends that, and a run killed with SIGKILL leaves nothing that blocks the next start.
class SingleInstance {
public:
    // `directory` is the user's runtime directory unless a test names another.
    explicit SingleInstance(QString directory = runtimeDirectory());
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    enum class Claim {
        won,        // this process is the one Brivello (exactly one of several at once wins)
        taken,      // another process is
        impossible, // the lock file cannot be made (no runtime directory, a full disk)
    };
    Claim claim();
    // Lets another process claim.
    void release();
    bool isClaimed() const { return m_lock >= 0; }

    QString socketPath() const;

    // Only its user can enter it (XDG_RUNTIME_DIR on Linux, made 0700 by Qt when missing).
    static QString runtimeDirectory();

private:
    QString m_directory;
    int m_lock = -1;
};
