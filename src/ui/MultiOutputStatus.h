#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

class MultiOutputController;

// The window-level state of the multi-output device, for the header and the bottom bar: whether
// it is on, whether it can be switched on, how many devices are ticked, and the controller's
// last status text; and the window's three commands.
class MultiOutputStatus : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made in C++ over the application's controller")
    Q_PROPERTY(bool active READ active NOTIFY activeChanged)
    Q_PROPERTY(bool canActivate READ canActivate NOTIFY canActivateChanged)
    Q_PROPERTY(int selectedCount READ selectedCount NOTIFY selectedCountChanged)
    Q_PROPERTY(QString statusMessage READ statusMessage NOTIFY statusMessageChanged)
public:
    // `controller` must outlive this object.
    explicit MultiOutputStatus(MultiOutputController& controller, QObject* parent = nullptr);

    bool active() const;
    bool canActivate() const;
    int selectedCount() const;
    QString statusMessage() const; // empty when there is none

    Q_INVOKABLE void activate();
    Q_INVOKABLE void deactivate();
    Q_INVOKABLE void refresh();

signals:
    void activeChanged();
    void canActivateChanged();
    void selectedCountChanged();
    void statusMessageChanged();

private:
    MultiOutputController& m_controller;
};
