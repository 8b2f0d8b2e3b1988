#pragma once

#include <QByteArray>
#include <QImage>
#include <QPoint>

#include <cstdint>
#include <vector>

// Writes animated PNGs chunk by chunk, for the cases no assembler produces on purpose: zero and
// hundredth delays, blend and dispose operations of our choosing, damaged frames, a hidden
// default image.
class ApngBuilder {
public:
    struct Frame {
        QImage image{};
        QPoint at{};
        std::uint16_t delayNum = 1;
        std::uint16_t delayDen = 10;
        std::uint8_t dispose = 0; // 0 none, 1 background, 2 previous
        std::uint8_t blend = 0;   // 0 source, 1 over
        bool damagedCrc = false;  // the frame's data chunk fails its CRC
        bool garbageData = false; // its data is no zlib stream, with a correct CRC
    };

    explicit ApngBuilder(QSize canvas) : m_canvas(canvas) {}

    // Shown by viewers without APNG support but no frame of the animation.
    ApngBuilder& hiddenDefault(const QImage& image);
    ApngBuilder& frame(const Frame& frame);
    QByteArray build() const;

    // A canvas-sized or frame-sized image in one colour, given non-premultiplied.
    static QImage filled(QSize size, QColor colour);

private:
    QSize m_canvas;
    QImage m_hidden;
    std::vector<Frame> m_frames;
};
