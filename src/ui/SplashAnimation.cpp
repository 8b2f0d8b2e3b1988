#include "SplashAnimation.h"

#include <QFile>
#include <QPromise>
#include <QQmlFile>
#include <QThreadPool>

#include <memory>

SplashAnimation::SplashAnimation(QObject* parent) : QObject(parent) {
    connect(&m_decoding, &QFutureWatcherBase::finished, this, &SplashAnimation::decodeFinished);
}

void SplashAnimation::setSource(const QUrl& source) {
    if (source == m_source)
        return;
    m_source = source;
    emit sourceChanged();

    const QString path = QQmlFile::urlToLocalFileOrQrc(source);
    auto promise = std::make_shared<QPromise<std::optional<std::vector<ApngFrame>>>>();
    m_decoding.setFuture(promise->future());
    promise->start();
    // The task holds nothing of this object: if the object goes first, the result is dropped.
    QThreadPool::globalInstance()->start([promise, path] {
        QFile file(path);
        // A missing or unreadable file publishes nothing: the splash waits for a click.
        if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
            promise->addResult(std::nullopt);
        else
            promise->addResult(ApngReader::read(file.readAll()));
        promise->finish();
    });
}

void SplashAnimation::decodeFinished() {
    const auto future = m_decoding.future();
    if (future.resultCount() == 0)
        return;
    if (const auto& decoded = future.result())
        publish(*decoded);
}

void SplashAnimation::publish(const std::vector<ApngFrame>& decoded) {
    std::vector<QImage> frames;
    std::vector<double> starts;
    double t = 0;
    for (const auto& frame : decoded) {
        frames.push_back(frame.image);
        starts.push_back(t);
        t += frame.delay.value_or(kDefaultDelay);
    }
    m_frames = std::move(frames);
    m_starts = std::move(starts);
    emit framesChanged();
    if (t != m_total) {
        m_total = t;
        emit totalChanged();
    }
}

QImage SplashAnimation::frame(int index) const {
    if (index < 0 || index >= frameCount())
        return {};
    return m_frames[static_cast<std::size_t>(index)];
}

int SplashAnimation::frameIndex(double t) const {
    if (m_starts.empty())
        return 0;
    if (t >= m_total)
        return frameCount() - 1;
    // The largest index whose start is not after t; 0 when t lies before every start.
    int lo = 0, hi = frameCount() - 1, result = 0;
    while (lo <= hi) {
        const int mid = (lo + hi) / 2;
        if (m_starts[static_cast<std::size_t>(mid)] <= t) {
            result = mid;
            lo = mid + 1;
        } else {
            hi = mid - 1;
        }
    }
    return result;
}
