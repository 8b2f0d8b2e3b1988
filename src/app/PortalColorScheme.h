#pragma once

#include "ColorSchemeSource.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

class QDBusPendingCallWatcher;

// The desktop's colour-scheme preference as the XDG desktop portal publishes it on the session
// bus. Read without blocking: the answer arrives after construction and is followed while the
// application runs. No bus, no portal or an old portal all read as no preference.
class PortalColorScheme : public QObject, public ColorSchemeSource {
    Q_OBJECT
public:
    PortalColorScheme(QDBusConnection bus, std::function<void()> changed);

    std::optional<bool> prefersDark() const override { return m_prefersDark; }

public slots:
    // The portal's SettingChanged(namespace, key, value); public, as QtDBus requires.
    void onSettingChanged(const QDBusMessage& message);

private:
    void ask(const QString& method);
    void answered(QDBusPendingCallWatcher* call, bool readOne);
    void take(const QVariant& value);

    QDBusConnection m_bus;
    std::function<void()> m_changed;
    std::optional<bool> m_prefersDark;
    // A change signalled while the first read is under way is newer than its answer.
    bool m_heardChange = false;
};
