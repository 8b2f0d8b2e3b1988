#include "PngChunks.h"

#include <array>

namespace PngChunks {

namespace {

// The CRC-32 of ISO 3309 that PNG uses, one table entry per byte value.
constexpr std::array<std::uint32_t, 256> kCrcTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t n = 0; n < 256; ++n) {
        std::uint32_t c = n;
        for (int k = 0; k < 8; ++k)
            c = (c & 1) ? 0xedb88320u ^ (c >> 1) : c >> 1;
        table[n] = c;
    }
    return table;
}();

std::uint32_t updateCrc(std::uint32_t c, QByteArrayView bytes) {
    for (char byte : bytes)
        c = kCrcTable[(c ^ static_cast<unsigned char>(byte)) & 0xff] ^ (c >> 8);
    return c;
}

} // namespace

std::uint32_t crc(QByteArrayView bytes) {
    return updateCrc(0xffffffffu, bytes) ^ 0xffffffffu;
}

std::uint32_t readU32(const char* p) {
    const auto* u = reinterpret_cast<const unsigned char*>(p);
    return (std::uint32_t(u[0]) << 24) | (std::uint32_t(u[1]) << 16) | (std::uint32_t(u[2]) << 8) |
           std::uint32_t(u[3]);
}

std::uint16_t readU16(const char* p) {
    const auto* u = reinterpret_cast<const unsigned char*>(p);
    return static_cast<std::uint16_t>((u[0] << 8) | u[1]);
}

void writeU32(char* p, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<char>((value >> (24 - 8 * i)) & 0xff);
}

Walk walk(QByteArrayView png) {
    Walk result;
    if (!png.startsWith(kSignature))
        return result;
    qsizetype at = kSignature.size();
    while (png.size() - at >= 12) {
        const std::uint32_t length = readU32(png.data() + at);
        // Length, type and CRC take 12 bytes around the data.
        if (length > static_cast<std::uint64_t>(png.size() - at - 12))
            return result;
        const QByteArrayView typeAndData = png.sliced(at + 4, 4 + length);
        const std::uint32_t stored = readU32(png.data() + at + 8 + length);
        Chunk chunk{typeAndData.first(4).toByteArray(), typeAndData.sliced(4).toByteArray(),
                    crc(typeAndData) == stored};
        at += 12 + length;
        const bool end = chunk.type == "IEND";
        result.chunks.push_back(std::move(chunk));
        if (end) {
            result.complete = true;
            return result;
        }
    }
    return result;
}

void append(QByteArray& out, QByteArrayView type, QByteArrayView data) {
    char length[4];
    writeU32(length, static_cast<std::uint32_t>(data.size()));
    out.append(length, 4);
    const qsizetype typeAt = out.size();
    out.append(type.data(), type.size());
    out.append(data.data(), data.size());
    char sum[4];
    writeU32(sum, crc(QByteArrayView(out).sliced(typeAt)));
    out.append(sum, 4);
}

} // namespace PngChunks
