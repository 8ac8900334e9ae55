#pragma once

#include <QByteArray>
#include <QtEndian>

#include <bit>
#include <cstdint>

// Big-endian packing of the numbers inside archive data blobs.
namespace archive_bytes {

inline void appendUInt8(QByteArray& out, std::uint8_t v) {
    out.append(char(v));
}

inline void appendUInt16(QByteArray& out, std::uint16_t v) {
    char b[2];
    qToBigEndian(v, b);
    out.append(b, 2);
}

inline void appendUInt32(QByteArray& out, std::uint32_t v) {
    char b[4];
    qToBigEndian(v, b);
    out.append(b, 4);
}

inline void appendFloat(QByteArray& out, float v) {
    appendUInt32(out, std::bit_cast<std::uint32_t>(v));
}

inline std::uint16_t readUInt16(const char* p) {
    return qFromBigEndian<std::uint16_t>(p);
}
inline std::uint32_t readUInt32(const char* p) {
    return qFromBigEndian<std::uint32_t>(p);
}
inline float readFloat(const char* p) {
    return std::bit_cast<float>(readUInt32(p));
}

// Points per element type in a path's "elements" blob: move, line, curve, close.
inline int pointsForElementType(std::uint8_t type) {
    static constexpr int counts[4] = {1, 1, 3, 0};
    return type < 4 ? counts[type] : -1;
}

} // namespace archive_bytes
