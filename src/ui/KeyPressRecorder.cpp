#include "KeyPressRecorder.h"

#include "KeyPressTranslation.h"

#include <QCoreApplication>
#include <QKeyEvent>

KeyPressRecorder::KeyPressRecorder(QObject* parent) : QObject(parent) {}

KeyPressRecorder::~KeyPressRecorder() {
    stop();
}

void KeyPressRecorder::start() {
    if (m_recording)
        return;
    m_recording = true;
    QCoreApplication::instance()->installEventFilter(this);
    emit recordingChanged();
}

void KeyPressRecorder::stop() {
    if (!m_recording)
        return;
    m_recording = false;
    QCoreApplication::instance()->removeEventFilter(this);
    emit recordingChanged();
}

bool KeyPressRecorder::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        // Accepted, so no shortcut (a dialog's Return, a menu's accelerator) fires; the press
        // itself arrives next and is swallowed below.
        event->accept();
        return true;
    case QEvent::KeyPress: {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (const auto press = recordedKeyPress(*key))
            if (const auto combo = recordedCombo(*press)) {
                stop();
                emit taken(combo->keyCode, combo->modifiers,
                           QString::fromStdString(combo->display));
            }
        return true;
    }
    default:
        return QObject::eventFilter(watched, event);
    }
}
