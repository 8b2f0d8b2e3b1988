#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusVariant>
#include <QObject>

// The desktop portal's settings interface as far as the colour scheme goes, on its own
// connection to the bus, so its answers travel over the bus like a real portal's.
class StandInPortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    enum class Version { KnowsReadOne, ReadOnly };

    // `colorScheme`: 0 no preference, 1 dark, 2 light.
    StandInPortal(const QByteArray& busAddress, uint colorScheme, Version version);
    ~StandInPortal() override;

    bool isRegistered() const { return m_registered; }
    // Changes the setting and announces it as the portal does.
    void setColorScheme(uint colorScheme);

public slots:
    QDBusVariant ReadOne(const QString& nameSpace, const QString& key);
    QDBusVariant Read(const QString& nameSpace, const QString& key);

signals:
    void SettingChanged(const QString& nameSpace, const QString& key, const QDBusVariant& value);

private:
    bool known(const QString& nameSpace, const QString& key);

    QDBusConnection m_bus;
    Version m_version;
    uint m_colorScheme;
    bool m_registered = false;
};
