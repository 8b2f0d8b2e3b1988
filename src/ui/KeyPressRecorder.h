#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

// Listens for the next key combination while recording: every key press of the application is
// swallowed, one with ⌘, ⌥ or ⌃ (Super, Alt or Ctrl on a PC keyboard) is taken and ends the
// recording, any other is ignored. It listens only while recording, through an event filter on
// the application, so it sees the presses of this application's windows only.
class KeyPressRecorder : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(bool recording READ recording NOTIFY recordingChanged)
public:
    explicit KeyPressRecorder(QObject* parent = nullptr);
    ~KeyPressRecorder() override;

    bool recording() const { return m_recording; }

    Q_INVOKABLE void start();
    // Also when not recording; then it changes nothing.
    Q_INVOKABLE void stop();

signals:
    void recordingChanged();
    // A combination in its stored form: macOS key code, Carbon mask, display text.
    void taken(quint32 keyCode, quint32 modifiers, const QString& display);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool m_recording = false;
};
