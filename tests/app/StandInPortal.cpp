#include "StandInPortal.h"

#include <QDBusError>

namespace {

const QString connectionName = QStringLiteral("stand-in portal");
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");

} // namespace

StandInPortal::StandInPortal(const QByteArray& busAddress, uint colorScheme, Version version)
    : m_bus(QDBusConnection::connectToBus(QString::fromUtf8(busAddress), connectionName)),
      m_version(version), m_colorScheme(colorScheme) {
    m_registered =
        m_bus.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
                             QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) &&
        m_bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
}

StandInPortal::~StandInPortal() {
    QDBusConnection::disconnectFromBus(connectionName);
}

void StandInPortal::setColorScheme(uint colorScheme) {
    m_colorScheme = colorScheme;
    emit SettingChanged(appearance, colorSchemeKey, QDBusVariant(colorScheme));
}

bool StandInPortal::known(const QString& nameSpace, const QString& key) {
    if (nameSpace == appearance && key == colorSchemeKey)
        return true;
    sendErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                   QStringLiteral("Requested setting not found"));
    return false;
}

QDBusVariant StandInPortal::ReadOne(const QString& nameSpace, const QString& key) {
    if (m_version == Version::ReadOnly) {
        sendErrorReply(QDBusError::UnknownMethod, QStringLiteral("No such method 'ReadOne'"));
        return {};
    }
    if (!known(nameSpace, key))
        return {};
    return QDBusVariant(m_colorScheme);
}

QDBusVariant StandInPortal::Read(const QString& nameSpace, const QString& key) {
    if (!known(nameSpace, key))
        return {};
    // Read answers with the value inside one more variant.
    return QDBusVariant(QVariant::fromValue(QDBusVariant(m_colorScheme)));
}
