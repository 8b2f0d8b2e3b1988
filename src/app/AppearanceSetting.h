#pragma once

#include "Appearance.h"

#include <QObject>
#include <QString>
#include <QVariantList>

#include <memory>

class QSettings;
class SystemColorScheme;

// The user's appearance choice as the views see it: kept under "appearance" in the settings the
// zones live in, one instance shared by every window so that a change shows everywhere at once.
// A stored value that is not one of the three reads as "system" and stays stored until the user
// chooses; writing one that is not one of the three changes and stores nothing.
class AppearanceSetting : public QObject {
    Q_OBJECT
    // "system", "light" or "dark".
    Q_PROPERTY(QString raw READ raw WRITE setRaw NOTIFY rawChanged)
    // The symbol of the current choice, for the appearance menu's label.
    Q_PROPERTY(QString symbolName READ symbolName NOTIFY rawChanged)
    // The scheme the content is drawn in: the forced one, or the system's for "system".
    Q_PROPERTY(bool dark READ dark NOTIFY darkChanged)
    // The menu's entries in order, each a map with "raw", "title" and "symbolName".
    Q_PROPERTY(QVariantList choices READ choices CONSTANT)
public:
    // Without `settings` the application's own settings are used, as for the zones. Neither
    // `system` nor `settings` is owned; both must outlive this object.
    explicit AppearanceSetting(const SystemColorScheme& system, QSettings* settings = nullptr,
                               QObject* parent = nullptr);
    ~AppearanceSetting() override;

    Appearance appearance() const { return m_appearance; }
    QString raw() const { return rawValue(m_appearance); }
    void setRaw(const QString& raw);
    QString symbolName() const { return ::symbolName(m_appearance); }
    bool dark() const { return m_dark; }
    QVariantList choices() const;

    static constexpr const char* key = "appearance";

signals:
    void rawChanged();
    void darkChanged();

private:
    bool effectiveDark() const;
    void updateDark();

    const SystemColorScheme& m_system;
    std::unique_ptr<QSettings> m_ownSettings;
    QSettings* m_settings;
    Appearance m_appearance;
    bool m_dark = false;
};
