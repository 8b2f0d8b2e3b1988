#include "ControlServer.h"

#include "ControlMessage.h"

#include <QLocalSocket>
#include <QTimer>

ControlServer::ControlServer(Handler handler, QObject* parent)
    : QObject(parent), m_handler(std::move(handler)) {
    // The socket file itself is its user's only, inside a directory that is too.
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, &ControlServer::onNewConnection);
}

ControlServer::~ControlServer() {
    // The connections are the server's children and end with it, after this object's members.
    for (QLocalSocket* socket : m_server.findChildren<QLocalSocket*>())
        socket->disconnect(this);
    m_server.close();
}

bool ControlServer::listen(const QString& path) {
    QLocalServer::removeServer(path);
    return m_server.listen(path);
}

void ControlServer::onNewConnection() {
    while (QLocalSocket* socket = m_server.nextPendingConnection()) {
        m_received.insert(socket, {});
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { onReadyRead(socket); });
        connect(socket, &QLocalSocket::disconnected, this, [this, socket] { drop(socket); });
        QTimer::singleShot(kRequestTimeoutMs, socket, [this, socket] {
            if (m_received.contains(socket))
                drop(socket);
        });
    }
}

void ControlServer::onReadyRead(QLocalSocket* socket) {
    auto it = m_received.find(socket);
    if (it == m_received.end())
        return; // answered or being answered: anything more is ignored
    // One byte more than a request may have: a line that long is refused without reading on.
    it->append(socket->read(qint64(kMaxRequestBytes + 1) - it->size()));
    const qsizetype end = it->indexOf('\n');
    if (end < 0) {
        if (std::size_t(it->size()) > kMaxRequestBytes)
            drop(socket);
        return;
    }
    const auto request = it->size() == end + 1
                             ? parseControlRequest(std::string_view(it->constData(), end))
                             : std::nullopt; // more after the request's line
    if (!request) {
        drop(socket);
        return;
    }
    m_received.erase(it);
    m_queue.emplace_back(socket, *request);
    serveQueued();
}

void ControlServer::drop(QLocalSocket* socket) {
    m_received.remove(socket);
    socket->disconnect(this);
    socket->abort();
    socket->deleteLater();
}

void ControlServer::serveQueued() {
    if (m_serving)
        return; // the loop below takes it when the request before it is done
    m_serving = true;
    while (!m_queue.empty()) {
        auto [socket, request] = std::move(m_queue.front());
        m_queue.pop_front();
        // Carried out even when the caller has left meanwhile, as a hot-key press would be.
        const ControlReply reply = m_handler(request);
        if (!socket || socket->state() != QLocalSocket::ConnectedState)
            continue;
        socket->write(QByteArray::fromStdString(encodeControlReply(reply) + '\n'));
        socket->flush(); // out before a quit it asked for ends the loop
        // Closes once the reply is written; `disconnected` then removes the socket.
        socket->disconnectFromServer();
    }
    m_serving = false;
}
