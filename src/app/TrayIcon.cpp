#include "TrayIcon.h"

#include "SymbolIcon.h"
#include "WindowFront.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <algorithm>

namespace {

// A click on the icon that closes the panel by taking its focus arrives this soon after.
constexpr qint64 reopenGuardMs = 300;

} // namespace

TrayIcon::TrayIcon(QWindow& panel, QWindow& window, QObject* parent)
    : QObject(parent), m_panel(panel), m_window(window) {
    m_icon.setToolTip(QStringLiteral("Brivello"));
    connect(&m_icon, &QSystemTrayIcon::activated, this, &TrayIcon::onActivated);
    connect(&m_panel, &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible)
            m_sinceHidden.start();
    });
}

bool TrayIcon::trayAvailable() {
    return QSystemTrayIcon::isSystemTrayAvailable();
}

void TrayIcon::setDark(bool dark) {
    QIcon icon = symbolIcon(QStringLiteral("hifispeaker.2.fill"),
                            dark ? QColor(0xf2, 0xf2, 0xf4) : QColor(0x1c, 0x1c, 0x1e));
#ifdef __APPLE__
    // The menu bar tints a mask to match itself, light or dark.
    icon.setIsMask(true);
#endif
    m_icon.setIcon(icon);
}

void TrayIcon::show() {
    // An icon set before the icon becomes visible; without one the tray shows an empty slot.
    if (m_icon.icon().isNull())
        setDark(false);
    m_icon.show();
}

QPoint TrayIcon::panelPosition(const QRect& icon, const QSize& panel, const QRect& screen) {
    if (!icon.isValid())
        return {screen.right() + 1 - panel.width(), screen.top()};
    const bool below = icon.center().y() < screen.center().y();
    const int x = std::clamp(icon.right() + 1 - panel.width(), screen.left(),
                             std::max(screen.left(), screen.right() + 1 - panel.width()));
    const int y = below ? icon.bottom() + 1 : icon.top() - panel.height();
    return {x, std::clamp(y, screen.top(),
                          std::max(screen.top(), screen.bottom() + 1 - panel.height()))};
}

void TrayIcon::openWindow() {
    showWindowInFront(m_window);
}

void TrayIcon::onActivated(QSystemTrayIcon::ActivationReason reason) {
    if (reason != QSystemTrayIcon::Trigger && reason != QSystemTrayIcon::Context)
        return;
    if (m_panel.isVisible()) {
        m_panel.hide();
        return;
    }
    if (m_sinceHidden.isValid() && m_sinceHidden.elapsed() < reopenGuardMs)
        return;
    const QRect icon = m_icon.geometry();
    QScreen* screen = icon.isValid() ? QGuiApplication::screenAt(icon.center()) : nullptr;
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    m_panel.setPosition(panelPosition(icon, m_panel.size(), screen->availableGeometry()));
    m_panel.show();
    m_panel.raise();
    m_panel.requestActivate();
}
