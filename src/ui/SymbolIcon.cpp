#include "SymbolIcon.h"

#include "SymbolRenderer.h"

#include <QPixmap>

namespace {

// Menu and tray sizes at 1× and 2×, title bars, task bars and the window switcher.
constexpr int iconSizes[] = {16, 22, 24, 32, 44, 48, 64, 128, 256};

template <typename Draw> QIcon iconFrom(Draw draw) {
    QIcon icon;
    for (int side : iconSizes)
        icon.addPixmap(QPixmap::fromImage(draw(QSize(side, side))));
    return icon;
}

} // namespace

QIcon appLogoIcon() {
    return iconFrom([](QSize size) { return renderAppLogo(size); });
}

QIcon symbolIcon(const QString& name, const QColor& color) {
    return iconFrom([&](QSize size) { return renderSymbol(name, color, size); });
}
