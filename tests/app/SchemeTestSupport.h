#pragma once

#include <QColor>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QPalette>

// Makes the application palette's window colour `window`, as a desktop theme would.
inline void usePalette(QColor window) {
    QPalette palette = QGuiApplication::palette();
    palette.setColor(QPalette::Window, window);
    QGuiApplication::setPalette(palette);
}

inline const QColor lightWindow{0xef, 0xef, 0xef};
inline const QColor darkWindow{0x2a, 0x2a, 0x2a};

// Runs the event loop until `condition` holds or `ms` have passed; whether it came to hold.
template <typename Condition> bool eventually(Condition condition, int ms = 5000) {
    QDeadlineTimer deadline(ms);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

// Lets the messages in flight on the bus arrive, to see that they change nothing.
inline void settle() {
    eventually([] { return false; }, 300);
}
