#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT, SIGTERM and SIGHUP (Ctrl-C, kill, logout) into an orderly QCoreApplication::quit(),
// so they end in the same teardown as a normal quit and never leave the sound routed to a device
// that no longer plays. One instance per process, created after the application object.
class TerminationSignals : public QObject {
    Q_OBJECT
public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

    // False when the handlers could not be installed (the process then dies on those signals as
    // it would without Brivello's help).
    bool isInstalled() const { return m_notifier != nullptr; }

private:
    void onSignal();

    QSocketNotifier* m_notifier = nullptr;
};
