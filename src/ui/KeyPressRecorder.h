#pragma once

#include "HotKeyCombo.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <optional>

// Listens for the next key combination while recording: every key press of the application is
// swallowed, one with ⌘, ⌥ or ⌃ (Super, Alt or Ctrl on a PC keyboard) is taken and ends the
// recording, any other is ignored. It listens only while recording, through an event filter on
// the application, so it sees the presses of this application's windows only.
// A combination macOS 15 refuses (only ⌥ or ⌥⇧) ends the recording too, but is only taken once
// the user keeps it; until then it is in question.
class KeyPressRecorder : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool recording READ recording NOTIFY recordingChanged)
    // The display text of the combination in question, "" for none.
    Q_PROPERTY(QString questionedText READ questionedText NOTIFY questionChanged)
public:
    explicit KeyPressRecorder(QObject* parent = nullptr);
    ~KeyPressRecorder() override;

    bool recording() const { return m_recording; }
    QString questionedText() const;

    // Drops a combination in question: recording again is the other answer to it.
    Q_INVOKABLE void start();
    // Also when not recording; then it only drops a combination in question, which leaves the
    // combination as it was.
    Q_INVOKABLE void stop();
    // Takes the combination in question.
    Q_INVOKABLE void keep();

signals:
    void recordingChanged();
    void questionChanged();
    // A combination in its stored form: macOS key code, Carbon mask, display text.
    void taken(quint32 keyCode, quint32 modifiers, const QString& display);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setQuestioned(std::optional<HotKeyCombo> combo);
    void take(const HotKeyCombo& combo);

    bool m_recording = false;
    std::optional<HotKeyCombo> m_questioned;
};
