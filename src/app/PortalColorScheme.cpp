#include "PortalColorScheme.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceNamespace = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");

// Read wraps the value in one more variant than ReadOne does; unwrap however many there are.
QVariant unwrap(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

PortalColorScheme::PortalColorScheme(QDBusConnection bus, std::function<void()> changed)
    : m_bus(std::move(bus)), m_changed(std::move(changed)) {
    if (!m_bus.isConnected())
        return;
    // Taking the whole message: Qt 6.4 does not match a slot typed (QString, QString,
    // QDBusVariant) to this signal.
    m_bus.connect(service, path, interface, QStringLiteral("SettingChanged"), this,
                  SLOT(onSettingChanged(QDBusMessage)));
    ask(QStringLiteral("ReadOne"));
}

void PortalColorScheme::ask(const QString& method) {
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, method);
    call << appearanceNamespace << colorSchemeKey;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    const bool readOne = method == QLatin1String("ReadOne");
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, readOne](QDBusPendingCallWatcher* w) { answered(w, readOne); });
}

void PortalColorScheme::answered(QDBusPendingCallWatcher* call, bool readOne) {
    call->deleteLater();
    const QDBusMessage reply = call->reply();
    if (m_heardChange)
        return;
    if (reply.type() == QDBusMessage::ErrorMessage) {
        // Portals before version 2 of the interface know only Read.
        if (readOne && call->error().type() == QDBusError::UnknownMethod)
            ask(QStringLiteral("Read"));
        return;
    }
    take(reply.arguments().value(0));
}

void PortalColorScheme::onSettingChanged(const QDBusMessage& message) {
    const QVariantList args = message.arguments();
    if (args.size() != 3 || args[0].toString() != appearanceNamespace ||
        args[1].toString() != colorSchemeKey)
        return;
    m_heardChange = true;
    take(args[2]);
}

void PortalColorScheme::take(const QVariant& value) {
    // 1 prefers dark, 2 prefers light, 0 (or anything else) states no preference.
    bool isNumber = false;
    const uint scheme = unwrap(value).toUInt(&isNumber);
    std::optional<bool> dark;
    if (isNumber && scheme == 1)
        dark = true;
    else if (isNumber && scheme == 2)
        dark = false;
    if (dark == m_prefersDark)
        return;
    m_prefersDark = dark;
    m_changed();
}

std::unique_ptr<ColorSchemeSource> makeColorSchemeSource(std::function<void()> changed) {
    return std::make_unique<PortalColorScheme>(QDBusConnection::sessionBus(), std::move(changed));
}
