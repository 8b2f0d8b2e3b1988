#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QSystemTrayIcon>

class QWindow;

// Brivello's icon in the system tray and the panel it opens: a click on the icon opens the panel at
// the icon, a second click closes it. The panel closes itself when it loses the focus.
class TrayIcon : public QObject {
    Q_OBJECT
public:
    // `panel` and `window` (the main window) must outlive this object.
    TrayIcon(QWindow& panel, QWindow& window, QObject* parent = nullptr);

    // Whether the desktop has a tray to put an icon in at all.
    static bool trayAvailable();

    // Drawn in a light colour for a dark panel and the other way round.
    void setDark(bool dark);
    void show();

    // The panel's top-left corner for an icon at `icon`: under the icon when it sits in the upper
    // half of `screen`, above it otherwise, aligned with the icon's right edge and kept on the
    // screen. Without a known icon place, the screen's top-right corner.
    static QPoint panelPosition(const QRect& icon, const QSize& panel, const QRect& screen);

public slots:
    // The main window shown, raised and focused, in front of other applications' windows.
    void openWindow();

private:
    void onActivated(QSystemTrayIcon::ActivationReason reason);

    QSystemTrayIcon m_icon;
    QWindow& m_panel;
    QWindow& m_window;
    // When the panel last closed: a click on the icon takes its focus first, and that click must
    // not open it again at once.
    QElapsedTimer m_sinceHidden;
};
