#include "Appearance.h"

#include <algorithm>

QString rawValue(Appearance appearance) {
    switch (appearance) {
    case Appearance::Light:
        return QStringLiteral("light");
    case Appearance::Dark:
        return QStringLiteral("dark");
    case Appearance::System:
        break;
    }
    return QStringLiteral("system");
}

QString title(Appearance appearance) {
    switch (appearance) {
    case Appearance::Light:
        return QStringLiteral("Hell");
    case Appearance::Dark:
        return QStringLiteral("Dunkel");
    case Appearance::System:
        break;
    }
    return QStringLiteral("System");
}

QString symbolName(Appearance appearance) {
    switch (appearance) {
    case Appearance::Light:
        return QStringLiteral("sun.max");
    case Appearance::Dark:
        return QStringLiteral("moon");
    case Appearance::System:
        break;
    }
    return QStringLiteral("circle.lefthalf.filled");
}

std::optional<ColorScheme> colorScheme(Appearance appearance) {
    switch (appearance) {
    case Appearance::Light:
        return ColorScheme::Light;
    case Appearance::Dark:
        return ColorScheme::Dark;
    case Appearance::System:
        break;
    }
    return std::nullopt;
}

std::optional<Appearance> appearanceFromRaw(QStringView raw) {
    const auto it = std::find_if(allAppearances.begin(), allAppearances.end(),
                                 [raw](Appearance a) { return rawValue(a) == raw; });
    return it == allAppearances.end() ? std::nullopt : std::optional(*it);
}

Appearance currentAppearance(QStringView stored) {
    return appearanceFromRaw(stored).value_or(Appearance::System);
}
