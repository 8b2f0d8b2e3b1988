#pragma once

#include "SplashAnimation.h"

#include <QPointer>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

// Draws one frame of the splash animation, scaled to fit the item with its aspect ratio kept and
// centred in it.
class SplashFrame : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(SplashAnimation* animation READ animation WRITE setAnimation NOTIFY animationChanged)
    Q_PROPERTY(int index READ index WRITE setIndex NOTIFY indexChanged)
public:
    explicit SplashFrame(QQuickItem* parent = nullptr);

    SplashAnimation* animation() const { return m_animation; }
    void setAnimation(SplashAnimation* animation);
    int index() const { return m_index; }
    void setIndex(int index);

    void paint(QPainter* painter) override;

signals:
    void animationChanged();
    void indexChanged();

private:
    QPointer<SplashAnimation> m_animation;
    int m_index = 0;
};
