#include "ApngBuilder.h"

#include "PngChunks.h"

#include <QBuffer>

namespace {

// The compressed image data and the header QImage writes for `image` as RGBA.
struct Encoded {
    QByteArray header;
    QByteArray data;
};

Encoded encode(const QImage& image) {
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.convertToFormat(QImage::Format_ARGB32).save(&buffer, "PNG");
    Encoded encoded;
    for (const auto& chunk : PngChunks::walk(png).chunks) {
        if (chunk.type == "IHDR")
            encoded.header = chunk.data;
        else if (chunk.type == "IDAT")
            encoded.data.append(chunk.data);
    }
    return encoded;
}

QByteArray u32(std::uint32_t value) {
    QByteArray bytes(4, '\0');
    PngChunks::writeU32(bytes.data(), value);
    return bytes;
}

QByteArray u16(std::uint16_t value) {
    return QByteArray{1, char(value >> 8)} + QByteArray{1, char(value & 0xff)};
}

void appendDamaged(QByteArray& out, QByteArrayView type, QByteArrayView data) {
    PngChunks::append(out, type, data);
    out[out.size() - 1] = char(out[out.size() - 1] ^ 0x5a);
}

} // namespace

ApngBuilder& ApngBuilder::hiddenDefault(const QImage& image) {
    m_hidden = image;
    return *this;
}

ApngBuilder& ApngBuilder::frame(const Frame& frame) {
    m_frames.push_back(frame);
    return *this;
}

QImage ApngBuilder::filled(QSize size, QColor colour) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

QByteArray ApngBuilder::build() const {
    QByteArray header = encode(filled(m_canvas, Qt::black)).header;
    PngChunks::writeU32(header.data(), std::uint32_t(m_canvas.width()));
    PngChunks::writeU32(header.data() + 4, std::uint32_t(m_canvas.height()));

    QByteArray out(PngChunks::kSignature.data(), PngChunks::kSignature.size());
    PngChunks::append(out, "IHDR", header);
    PngChunks::append(out, "acTL", u32(std::uint32_t(m_frames.size())) + u32(0));
    if (!m_hidden.isNull())
        PngChunks::append(out, "IDAT", encode(m_hidden).data);

    std::uint32_t sequence = 0;
    for (std::size_t i = 0; i < m_frames.size(); ++i) {
        const Frame& f = m_frames[i];
        PngChunks::append(out, "fcTL",
                          u32(sequence++) + u32(std::uint32_t(f.image.width())) +
                              u32(std::uint32_t(f.image.height())) + u32(std::uint32_t(f.at.x())) +
                              u32(std::uint32_t(f.at.y())) + u16(f.delayNum) + u16(f.delayDen) +
                              QByteArray{1, char(f.dispose)} + QByteArray{1, char(f.blend)});
        QByteArray data = f.garbageData ? QByteArray(40, '\x17') : encode(f.image).data;
        // The first frame is the default image; the others travel in fdAT behind a sequence number.
        const bool isDefault = i == 0 && m_hidden.isNull();
        const QByteArray type = isDefault ? "IDAT" : "fdAT";
        if (!isDefault)
            data.prepend(u32(sequence++));
        if (f.damagedCrc)
            appendDamaged(out, type, data);
        else
            PngChunks::append(out, type, data);
    }
    PngChunks::append(out, "IEND", {});
    return out;
}
