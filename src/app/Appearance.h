#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

// How the application looks: following the system's light or dark setting, or always one of them.
enum class Appearance { System, Light, Dark };

enum class ColorScheme { Light, Dark };

// Every case, in the order the appearance menu offers them.
inline constexpr std::array<Appearance, 3> allAppearances{Appearance::System, Appearance::Light,
                                                          Appearance::Dark};

// "system", "light" or "dark": the value kept in the settings.
QString rawValue(Appearance appearance);
// The menu entry's German text.
QString title(Appearance appearance);
// The symbol shown beside the entry and as the menu's label.
QString symbolName(Appearance appearance);
// The scheme forced on the content; none for System, which follows the system.
std::optional<ColorScheme> colorScheme(Appearance appearance);

// The case with exactly that raw value, or none.
std::optional<Appearance> appearanceFromRaw(QStringView raw);
// The case a stored value stands for: an unknown or damaged value behaves as System.
Appearance currentAppearance(QStringView stored);
