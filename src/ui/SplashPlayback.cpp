#include "SplashPlayback.h"

#include <cmath>

SplashPlayback::SplashPlayback(QObject* parent) : QObject(parent) {
    m_finishTimer.setSingleShot(true);
    m_finishTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_finishTimer, &QTimer::timeout, this, &SplashPlayback::finishNow);
}

void SplashPlayback::setAnimation(SplashAnimation* animation) {
    if (animation == m_animation)
        return;
    if (m_animation)
        m_animation->disconnect(this);
    m_animation = animation;
    if (m_animation)
        connect(m_animation, &SplashAnimation::totalChanged, this,
                &SplashPlayback::startWhenDecoded);
    emit animationChanged();
    startWhenDecoded();
}

void SplashPlayback::setPlaybackDuration(double seconds) {
    if (seconds == m_playbackDuration || !std::isfinite(seconds) || seconds <= 0)
        return;
    m_playbackDuration = seconds;
    emit playbackDurationChanged();
}

void SplashPlayback::startWhenDecoded() {
    // Nothing decodable: the splash stays, without a timer, until it is clicked.
    if (started() || m_finished || !m_animation || m_animation->total() <= 0 ||
        m_animation->frameCount() == 0)
        return;
    m_clock.start();
    m_finishTimer.start(static_cast<int>(std::lround(m_playbackDuration * 1000)));
    m_currentFrame = 0;
    emit currentFrameChanged();
    emit stateChanged();
}

int SplashPlayback::frameIndexAfter(double elapsed) const {
    if (!m_animation)
        return 0;
    return m_animation->frameIndex(elapsed / m_playbackDuration * m_animation->total());
}

void SplashPlayback::advance() {
    if (!playing())
        return;
    const int frame = frameIndexAfter(static_cast<double>(m_clock.nsecsElapsed()) / 1e9);
    if (frame != m_currentFrame) {
        m_currentFrame = frame;
        emit currentFrameChanged();
    }
}

void SplashPlayback::finishNow() {
    if (m_finished)
        return;
    m_finished = true;
    m_finishTimer.stop();
    emit stateChanged();
    emit finish();
}
