#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <optional>
#include <vector>

// The chunk layer of the PNG format: what the animated-PNG reader walks and what it writes when
// it rebuilds a frame as a PNG of its own.
namespace PngChunks {

inline constexpr QByteArrayView kSignature{"\x89PNG\r\n\x1a\n", 8};

struct Chunk {
    QByteArray type; // four letters, e.g. "IHDR", "fdAT"
    QByteArray data;
    bool intact = true; // its CRC matched
};

struct Walk {
    std::vector<Chunk> chunks;
    // The walk reached IEND; false when the data ended early or a length ran past its end.
    bool complete = false;
};

// The chunks after the signature, up to and including IEND. Empty when the data does not start
// with the PNG signature.
Walk walk(QByteArrayView png);

// Appends one chunk (length, type, data, CRC) to `out`.
void append(QByteArray& out, QByteArrayView type, QByteArrayView data);

std::uint32_t crc(QByteArrayView bytes);

std::uint32_t readU32(const char* bigEndian);
std::uint16_t readU16(const char* bigEndian);
void writeU32(char* bigEndian, std::uint32_t value);

} // namespace PngChunks
