#include "ApngReader.h"

#include "PngChunks.h"

#include <QPainter>
#include <QRect>

#include <cstdint>
#include <optional>
#include <utility>

using PngChunks::readU16;
using PngChunks::readU32;

namespace {

// Bounds on what a file may make us allocate: a side of the canvas, and all frames together.
constexpr std::uint32_t kMaxSide = 4096;
constexpr qint64 kMaxDecodedBytes = qint64(256) << 20;

constexpr std::uint8_t disposeNone = 0, disposeBackground = 1, disposePrevious = 2;
constexpr std::uint8_t blendSource = 0, blendOver = 1;

struct FrameControl {
    QRect rect;
    double delay = 0;
    std::uint8_t dispose = disposeNone;
    std::uint8_t blend = blendSource;
};

// A frame being collected: its control chunk and its compressed image data.
struct PendingFrame {
    std::optional<FrameControl> control; // absent when the fcTL was damaged or out of bounds
    QByteArray data;
    bool damaged = false;
};

std::optional<FrameControl> frameControl(const PngChunks::Chunk& chunk, const QRect& canvas) {
    if (!chunk.intact || chunk.data.size() != 26)
        return std::nullopt;
    const char* d = chunk.data.constData();
    const std::uint32_t width = readU32(d + 4), height = readU32(d + 8);
    const std::uint32_t x = readU32(d + 12), y = readU32(d + 16);
    const std::uint16_t delayNum = readU16(d + 20), delayDen = readU16(d + 22);
    const std::uint8_t dispose = static_cast<std::uint8_t>(d[24]);
    const std::uint8_t blend = static_cast<std::uint8_t>(d[25]);
    const auto w = std::uint64_t(canvas.width()), h = std::uint64_t(canvas.height());
    if (width == 0 || height == 0 || std::uint64_t(x) + width > w ||
        std::uint64_t(y) + height > h || dispose > disposePrevious || blend > blendOver)
        return std::nullopt;
    FrameControl control;
    control.rect = QRect(int(x), int(y), int(width), int(height));
    // A zero denominator means hundredths of a second.
    control.delay = double(delayNum) / (delayDen == 0 ? 100.0 : double(delayDen));
    control.dispose = dispose;
    control.blend = blend;
    return control;
}

class Assembler {
public:
    Assembler(QByteArray header, QSize canvas)
        : m_header(std::move(header)), m_canvas(canvas, QImage::Format_ARGB32_Premultiplied) {
        m_canvas.fill(Qt::transparent);
    }

    // Chunks that every frame's standalone PNG needs besides its size and data.
    void addShared(const PngChunks::Chunk& chunk) {
        PngChunks::append(m_shared, chunk.type, chunk.data);
    }

    void finish(const PendingFrame& frame) {
        if (m_full || frame.damaged || !frame.control || frame.data.isEmpty())
            return;
        const FrameControl& control = *frame.control;
        QImage image = decode(control.rect.size(), frame.data);
        if (image.isNull())
            return;
        if (m_decodedBytes + m_canvas.sizeInBytes() > kMaxDecodedBytes) {
            m_full = true;
            return;
        }
        m_decodedBytes += m_canvas.sizeInBytes();

        // Disposing to the previous canvas has nothing to go back to on the first frame.
        const std::uint8_t dispose = m_frames.empty() && control.dispose == disposePrevious
                                         ? disposeBackground
                                         : control.dispose;
        const QImage before = dispose == disposePrevious ? m_canvas.copy(control.rect) : QImage();
        {
            QPainter painter(&m_canvas);
            painter.setCompositionMode(control.blend == blendOver
                                           ? QPainter::CompositionMode_SourceOver
                                           : QPainter::CompositionMode_Source);
            painter.drawImage(control.rect.topLeft(), image);
        }
        m_frames.push_back({m_canvas.copy(), control.delay});

        QPainter painter(&m_canvas);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        if (dispose == disposeBackground)
            painter.fillRect(control.rect, Qt::transparent);
        else if (dispose == disposePrevious)
            painter.drawImage(control.rect.topLeft(), before);
    }

    std::vector<ApngFrame> takeFrames() { return std::move(m_frames); }

private:
    QImage decode(QSize size, const QByteArray& data) const {
        QByteArray header = m_header;
        PngChunks::writeU32(header.data(), std::uint32_t(size.width()));
        PngChunks::writeU32(header.data() + 4, std::uint32_t(size.height()));
        QByteArray png(PngChunks::kSignature.data(), PngChunks::kSignature.size());
        PngChunks::append(png, "IHDR", header);
        png.append(m_shared);
        PngChunks::append(png, "IDAT", data);
        PngChunks::append(png, "IEND", {});
        QImage image;
        if (!image.loadFromData(png, "PNG") || image.size() != size)
            return {};
        return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    }

    QByteArray m_header;
    QByteArray m_shared;
    QImage m_canvas;
    std::vector<ApngFrame> m_frames;
    qint64 m_decodedBytes = 0;
    bool m_full = false;
};

std::vector<ApngFrame> stillImage(QByteArrayView png) {
    QImage image;
    if (!image.loadFromData(png, "PNG"))
        return {};
    return {{image.convertToFormat(QImage::Format_ARGB32_Premultiplied), std::nullopt}};
}

} // namespace

namespace ApngReader {

std::vector<ApngFrame> read(QByteArrayView png) {
    const PngChunks::Walk walk = PngChunks::walk(png);
    if (walk.chunks.empty() || walk.chunks.front().type != "IHDR" || !walk.chunks.front().intact ||
        walk.chunks.front().data.size() != 13)
        return {};
    const QByteArray& header = walk.chunks.front().data;
    const std::uint32_t width = readU32(header.constData());
    const std::uint32_t height = readU32(header.constData() + 4);
    if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide)
        return {};

    bool animated = false;
    for (const auto& chunk : walk.chunks) {
        if (chunk.type == "IDAT")
            break;
        animated = animated || (chunk.type == "acTL" && chunk.intact);
    }
    if (!animated)
        return stillImage(png);

    const QRect canvas(0, 0, int(width), int(height));
    Assembler assembler(header, canvas.size());
    std::optional<PendingFrame> pending;
    bool seenImageData = false;
    for (auto it = walk.chunks.begin() + 1; it != walk.chunks.end(); ++it) {
        const auto& chunk = *it;
        if (chunk.type == "fcTL") {
            if (pending)
                assembler.finish(*pending);
            const auto control = frameControl(chunk, canvas);
            pending = PendingFrame{control, {}, !control};
        } else if (chunk.type == "IDAT") {
            seenImageData = true;
            // Without an fcTL before it the default image is no part of the animation.
            if (pending) {
                pending->data.append(chunk.data);
                pending->damaged = pending->damaged || !chunk.intact;
            }
        } else if (chunk.type == "fdAT") {
            if (pending) {
                // Each fdAT starts with its sequence number.
                if (chunk.data.size() >= 4)
                    pending->data.append(chunk.data.constData() + 4, chunk.data.size() - 4);
                pending->damaged = pending->damaged || !chunk.intact || chunk.data.size() < 4;
            }
        } else if (chunk.type == "IEND") {
            if (pending)
                assembler.finish(*pending);
            pending.reset();
        } else if (!seenImageData && (chunk.type == "PLTE" || chunk.type == "tRNS")) {
            assembler.addShared(chunk);
        }
    }
    // A frame still open when the data ended early may be cut short: it is left out.
    return assembler.takeFrames();
}

} // namespace ApngReader
