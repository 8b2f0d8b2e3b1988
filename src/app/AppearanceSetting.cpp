#include "AppearanceSetting.h"

#include "SystemColorScheme.h"

#include <QSettings>
#include <QVariantMap>

AppearanceSetting::AppearanceSetting(const SystemColorScheme& system, QSettings* settings,
                                     QObject* parent)
    : QObject(parent), m_system(system),
      m_ownSettings(settings ? nullptr : std::make_unique<QSettings>()),
      m_settings(settings ? settings : m_ownSettings.get()),
      m_appearance(currentAppearance(m_settings->value(QLatin1String(key)).toString())) {
    connect(&system, &SystemColorScheme::prefersDarkChanged, this, [this] { updateDark(); });
    m_dark = effectiveDark();
}

AppearanceSetting::~AppearanceSetting() = default;

void AppearanceSetting::setRaw(const QString& raw) {
    const std::optional<Appearance> chosen = appearanceFromRaw(raw);
    if (!chosen)
        return;
    // Choosing the case a damaged value already reads as still replaces the damaged value.
    if (m_settings->value(QLatin1String(key)).toString() != raw)
        m_settings->setValue(QLatin1String(key), raw);
    if (*chosen == m_appearance)
        return;
    m_appearance = *chosen;
    emit rawChanged();
    updateDark();
}

QVariantList AppearanceSetting::choices() const {
    QVariantList list;
    for (Appearance a : allAppearances)
        list.append(QVariantMap{{QStringLiteral("raw"), rawValue(a)},
                                {QStringLiteral("title"), title(a)},
                                {QStringLiteral("symbolName"), ::symbolName(a)}});
    return list;
}

bool AppearanceSetting::effectiveDark() const {
    if (const std::optional<ColorScheme> forced = colorScheme(m_appearance))
        return *forced == ColorScheme::Dark;
    return m_system.prefersDark();
}

void AppearanceSetting::updateDark() {
    const bool dark = effectiveDark();
    if (dark == m_dark)
        return;
    m_dark = dark;
    emit darkChanged();
}
