#pragma once

#include "ApngReader.h"

#include <QFutureWatcher>
#include <QImage>
#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

#include <vector>

// The splash screen's animated logo: decodes an animated PNG off the main thread into frames with
// their start times, and says which frame belongs to a moment of the animation.
class SplashAnimation : public QObject {
    Q_OBJECT
    QML_ELEMENT
    // An animated PNG, "qrc:" or a local file; decoding starts as soon as it is set.
    Q_PROPERTY(QUrl source READ source WRITE setSource NOTIFY sourceChanged)
    Q_PROPERTY(int frameCount READ frameCount NOTIFY framesChanged)
    // The animation's length in seconds; published after the frames, so a binding that sees it
    // above 0 sees the frames too.
    Q_PROPERTY(double total READ total NOTIFY totalChanged)
public:
    // The delay of a frame whose file gives none.
    static constexpr double kDefaultDelay = 0.083;

    explicit SplashAnimation(QObject* parent = nullptr);

    QUrl source() const { return m_source; }
    void setSource(const QUrl& source);

    const std::vector<QImage>& frames() const { return m_frames; }
    int frameCount() const { return static_cast<int>(m_frames.size()); }
    // starts[i] is when frames[i] begins, in seconds; starts[0] is 0, never decreasing.
    const std::vector<double>& starts() const { return m_starts; }
    double total() const { return m_total; }
    QImage frame(int index) const;

    // The frame to show `t` seconds into the animation: the last one that has started by then,
    // the last of all from `total` on, 0 when there are none.
    Q_INVOKABLE int frameIndex(double t) const;

    // Takes decoded frames as they are published: their starts and the total from their delays.
    void publish(const std::vector<ApngFrame>& decoded);

signals:
    void sourceChanged();
    void framesChanged();
    void totalChanged();

private:
    void decodeFinished();

    QUrl m_source;
    std::vector<QImage> m_frames;
    std::vector<double> m_starts;
    double m_total = 0;
    // Delivers the background decoding's result on this object's (the main) thread; a new
    // source or the end of this object drops a result still on its way.
    QFutureWatcher<std::optional<std::vector<ApngFrame>>> m_decoding;
};
