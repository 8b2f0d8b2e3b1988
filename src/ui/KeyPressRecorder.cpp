#include "KeyPressRecorder.h"

#include "KeyPressTranslation.h"

#include <QCoreApplication>
#include <QKeyEvent>

KeyPressRecorder::KeyPressRecorder(QObject* parent) : QObject(parent) {}

KeyPressRecorder::~KeyPressRecorder() {
    stop();
}

QString KeyPressRecorder::questionedText() const {
    return m_questioned ? QString::fromStdString(m_questioned->display) : QString();
}

void KeyPressRecorder::start() {
    setQuestioned(std::nullopt);
    if (m_recording)
        return;
    m_recording = true;
    QCoreApplication::instance()->installEventFilter(this);
    emit recordingChanged();
}

void KeyPressRecorder::stop() {
    setQuestioned(std::nullopt);
    if (!m_recording)
        return;
    m_recording = false;
    QCoreApplication::instance()->removeEventFilter(this);
    emit recordingChanged();
}

void KeyPressRecorder::keep() {
    if (const auto combo = m_questioned) {
        setQuestioned(std::nullopt);
        take(*combo);
    }
}

void KeyPressRecorder::setQuestioned(std::optional<HotKeyCombo> combo) {
    if (m_questioned == combo)
        return;
    m_questioned = std::move(combo);
    emit questionChanged();
}

void KeyPressRecorder::take(const HotKeyCombo& combo) {
    emit taken(combo.keyCode, combo.modifiers, QString::fromStdString(combo.display));
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
                // Asked on every platform: the combination is stored in macOS terms and the zone
                // list moves between machines unchanged, and where it works the question costs
                // one click.
                if (isOptionOnly(*combo))
                    setQuestioned(combo);
                else
                    take(*combo);
            }
        return true;
    }
    default:
        return QObject::eventFilter(watched, event);
    }
}
