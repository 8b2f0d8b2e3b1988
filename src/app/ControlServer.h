#pragma once

#include "ControlRequest.h"

#include <QHash>
#include <QLocalServer>
#include <QObject>
#include <QPointer>

#include <deque>
#include <functional>

class QLocalSocket;

// The running Brivello's end of the control channel: takes one request per connection, carries
// requests out one after another in the order they arrived (switching may wait for the sound
// system while the event loop runs), answers and closes. A connection that sends anything but one
// well-formed request, sends too much, or stays silent too long is closed; nothing else changes.
class ControlServer : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<ControlReply(const ControlRequest&)>;

    explicit ControlServer(Handler handler, QObject* parent = nullptr);
    ~ControlServer() override;

    // Replaces whatever socket file is at `path`: only the holder of the single-instance lock
    // listens, so one found there is left from a run that ended without removing it.
    bool listen(const QString& path);

    // How long a connection may take to send its request.
    static constexpr int kRequestTimeoutMs = 5000;

private:
    void onNewConnection();
    void onReadyRead(QLocalSocket* socket);
    void drop(QLocalSocket* socket);
    void serveQueued();

    Handler m_handler;
    QLocalServer m_server;
    QHash<QLocalSocket*, QByteArray> m_received;
    std::deque<std::pair<QPointer<QLocalSocket>, ControlRequest>> m_queue;
    bool m_serving = false;
};
