#include "TerminationSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// The only thing a signal handler may safely do is write to a descriptor; the event loop reads
// the other end on the main thread.
int g_pipe[2] = {-1, -1};
constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

extern "C" void forwardSignal(int signal) {
    const int interrupted = errno; // the interrupted code may be about to read it
    const char byte = static_cast<char>(signal);
    [[maybe_unused]] auto written = ::write(g_pipe[0], &byte, 1);
    errno = interrupted;
}

// Started under nohup, a hang-up is meant to be ignored, and stays so.
bool inheritedAsIgnored(int signal) {
    struct sigaction current {};
    return signal == SIGHUP && ::sigaction(signal, nullptr, &current) == 0 &&
           current.sa_handler == SIG_IGN;
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent) {
    if (g_pipe[0] != -1 || ::socketpair(AF_UNIX, SOCK_STREAM, 0, g_pipe) != 0)
        return;
    // Neither end may block (not the handler, not the drain loop below), and no child inherits
    // them. SOCK_CLOEXEC does not exist on macOS, hence fcntl.
    for (int fd : g_pipe) {
        ::fcntl(fd, F_SETFL, O_NONBLOCK);
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    }
    m_notifier = new QSocketNotifier(g_pipe[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &TerminationSignals::onSignal);

    struct sigaction action {};
    action.sa_handler = forwardSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signal : kSignals)
        if (!inheritedAsIgnored(signal))
            ::sigaction(signal, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
    if (!m_notifier)
        return;
    for (int signal : kSignals) {
        struct sigaction current {};
        if (::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == forwardSignal)
            ::signal(signal, SIG_DFL);
    }
    ::close(g_pipe[0]);
    ::close(g_pipe[1]);
    g_pipe[0] = g_pipe[1] = -1;
}

void TerminationSignals::onSignal() {
    char buffer[16];
    while (::read(g_pipe[1], buffer, sizeof buffer) > 0) {
    }
    QCoreApplication::quit();
}
