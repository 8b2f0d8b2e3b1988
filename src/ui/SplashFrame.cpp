#include "SplashFrame.h"

#include <QPainter>

SplashFrame::SplashFrame(QQuickItem* parent) : QQuickPaintedItem(parent) {}

void SplashFrame::setAnimation(SplashAnimation* animation) {
    if (animation == m_animation)
        return;
    if (m_animation)
        m_animation->disconnect(this);
    m_animation = animation;
    if (m_animation)
        connect(m_animation, &SplashAnimation::framesChanged, this, [this] { update(); });
    emit animationChanged();
    update();
}

void SplashFrame::setIndex(int index) {
    if (index == m_index)
        return;
    m_index = index;
    emit indexChanged();
    update();
}

void SplashFrame::paint(QPainter* painter) {
    if (!m_animation)
        return;
    const QImage image = m_animation->frame(m_index);
    if (image.isNull())
        return;
    QSizeF size = image.size();
    size.scale(width(), height(), Qt::KeepAspectRatio);
    const QRectF target((width() - size.width()) / 2, (height() - size.height()) / 2, size.width(),
                        size.height());
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(target, image);
}
