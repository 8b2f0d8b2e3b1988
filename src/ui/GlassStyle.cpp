#include "GlassStyle.h"

#include <QOperatingSystemVersion>

bool GlassStyle::systemOffersGlass() {
    // A program built against an SDK older than 11 would see 10.16 on any later macOS; Qt's
    // builds link newer SDKs, which report the real version.
    const QOperatingSystemVersion glassRelease(QOperatingSystemVersion::MacOS, 26);
    const auto current = QOperatingSystemVersion::current();
    return current.type() == QOperatingSystemVersion::MacOS && current >= glassRelease;
}
