#pragma once

#include "SplashAnimation.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

// One play of the splash animation: it starts once the animation is decoded, shows the whole
// animation over `playbackDuration` seconds whatever the file's own timing, and finishes after
// that time or at a click, whichever comes first, reporting `finish` exactly once.
class SplashPlayback : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(SplashAnimation* animation READ animation WRITE setAnimation NOTIFY animationChanged)
    Q_PROPERTY(double playbackDuration READ playbackDuration WRITE setPlaybackDuration NOTIFY
                   playbackDurationChanged)
    // The frame to show now; follows the clock at each advance().
    Q_PROPERTY(int currentFrame READ currentFrame NOTIFY currentFrameChanged)
    // Frames are on screen: playback has begun (and may have finished since).
    Q_PROPERTY(bool started READ started NOTIFY stateChanged)
    // Redraws are wanted: started and not finished.
    Q_PROPERTY(bool playing READ playing NOTIFY stateChanged)
    Q_PROPERTY(bool finished READ finished NOTIFY stateChanged)
public:
    explicit SplashPlayback(QObject* parent = nullptr);

    SplashAnimation* animation() const { return m_animation; }
    void setAnimation(SplashAnimation* animation);
    double playbackDuration() const { return m_playbackDuration; }
    void setPlaybackDuration(double seconds);
    int currentFrame() const { return m_currentFrame; }
    bool started() const { return m_clock.isValid(); }
    bool playing() const { return started() && !m_finished; }
    bool finished() const { return m_finished; }

    // The frame for the moment `elapsed` seconds after playback began.
    int frameIndexAfter(double elapsed) const;

    // Picks the frame for now; called at each redraw while playing.
    Q_INVOKABLE void advance();
    // Ends the splash now, as a click does; does nothing once it has finished.
    Q_INVOKABLE void finishNow();

signals:
    void animationChanged();
    void playbackDurationChanged();
    void currentFrameChanged();
    void stateChanged();
    // Reported once, by the timer or by finishNow(), whichever comes first.
    void finish();

private:
    void startWhenDecoded();

    QPointer<SplashAnimation> m_animation;
    double m_playbackDuration = 1.6;
    int m_currentFrame = 0;
    bool m_finished = false;
    QElapsedTimer m_clock; // valid from the start of playback
    QTimer m_finishTimer;
};
