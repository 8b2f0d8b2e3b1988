#include "ControlClient.h"

#include "ControlMessage.h"

#include <QDeadlineTimer>
#include <QLocalSocket>
#include <QThread>

std::optional<ControlReply> sendControlRequest(const QString& socketPath,
                                               const ControlRequest& request, int connectWaitMs) {
    QLocalSocket socket;
    for (QDeadlineTimer deadline(connectWaitMs);;) {
        socket.connectToServer(socketPath);
        if (socket.waitForConnected(int(std::max<qint64>(deadline.remainingTime(), 0))))
            break;
        if (deadline.hasExpired())
            return std::nullopt;
        QThread::msleep(50);
    }
    // A request is far smaller than the socket's buffer: it is written at once.
    socket.write(QByteArray::fromStdString(encodeControlRequest(request) + '\n'));
    socket.flush();
    QByteArray received;
    for (QDeadlineTimer deadline(kControlReplyWaitMs);;) {
        received += socket.readAll();
        const qsizetype end = received.indexOf('\n');
        if (end >= 0)
            return parseControlReply(std::string_view(received.constData(), end));
        if (std::size_t(received.size()) > kMaxReplyBytes || deadline.hasExpired() ||
            socket.state() != QLocalSocket::ConnectedState)
            return std::nullopt; // too much, too late, or closed without an answer
        socket.waitForReadyRead(int(std::min<qint64>(deadline.remainingTime(), 100)));
    }
}
