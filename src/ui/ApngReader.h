#pragma once

#include <QByteArrayView>
#include <QImage>

#include <optional>
#include <vector>

// One frame of an animated PNG as it appears on screen: the whole canvas once the frame is drawn
// over what the frames before it left.
struct ApngFrame {
    QImage image; // canvas-sized, ARGB32 premultiplied
    // Seconds the frame stays; absent when the file carries no timing (a still PNG). Zero is kept.
    std::optional<double> delay;
};

// Decodes animated PNGs, which Qt's and Debian's libpng readers see as their first frame only.
// Each frame's data is rebuilt as a PNG of its own for QImage, then drawn on a canvas with its
// blend and dispose operations. Plain C++ over QImage; safe to call on any thread.
namespace ApngReader {

// The frames in file order. A frame whose data is damaged or cannot be decoded is left out and
// the canvas stays as it was; a still PNG gives one frame without a delay; data that is no PNG,
// or whose header is damaged or too large, gives none.
std::vector<ApngFrame> read(QByteArrayView png);

} // namespace ApngReader
