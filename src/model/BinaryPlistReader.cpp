#include "model/BinaryPlistReader.h"

#include "model/ArchiveError.h"

#include <bit>
#include <cstring>

namespace {

std::uint64_t readBigEndian(const unsigned char* p, std::size_t n) {
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < n; ++i) v = (v << 8) | p[i];
    return v;
}

bool isPowerOfTwoUpTo8(std::uint64_t n) {
    return n == 1 || n == 2 || n == 4 || n == 8;
}

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += char(c);
    } else if (c < 0x800) {
        out += char(0xC0 | (c >> 6));
        out += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += char(0xE0 | (c >> 12));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    } else {
        out += char(0xF0 | (c >> 18));
        out += char(0x80 | ((c >> 12) & 0x3F));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    }
}

} // namespace

BinaryPlistReader::BinaryPlistReader(const char* data, std::size_t size)
    : _d(reinterpret_cast<const unsigned char*>(data)), _size(size) {
    // Header, at least one object marker and the 32-byte trailer.
    if (_size < 8 + 1 + 32 || std::memcmp(_d, "bplist00", 8) != 0)
        throw ArchiveError("not a Vimo file");
    if (_size > (std::size_t(1) << 30)) ArchiveError::damaged("it is larger than 1 GiB");
    const unsigned char* trailer = _d + _size - 32;
    _offsetSize = trailer[6];
    _refSize = trailer[7];
    _numObjects = readBigEndian(trailer + 8, 8);
    _root = readBigEndian(trailer + 16, 8);
    _offsetTable = readBigEndian(trailer + 24, 8);
    // Writers use any width from 1 to 8 bytes (some write 3-byte offsets).
    if (_offsetSize < 1 || _offsetSize > 8 || _refSize < 1 || _refSize > 8)
        ArchiveError::damaged("its property list has a malformed trailer");
    const std::uint64_t tableEnd = _size - 32;
    if (_numObjects == 0 || _root >= _numObjects || _offsetTable < 9 || _offsetTable > tableEnd ||
        _numObjects > (tableEnd - _offsetTable) / _offsetSize)
        ArchiveError::damaged("its property list has a malformed trailer");
}

std::uint64_t BinaryPlistReader::readCount(unsigned low, std::size_t& pos) const {
    if (low != 0xF) return low;
    // The count follows as an integer object of 1, 2, 4 or 8 bytes.
    if (pos >= _offsetTable) ArchiveError::damaged("an object runs past its end");
    const unsigned marker = _d[pos];
    const unsigned width = 1u << (marker & 0xF);
    if ((marker & 0xF0) != 0x10 || width > 8)
        ArchiveError::damaged("an object has a malformed length");
    if (_offsetTable - pos - 1 < width) ArchiveError::damaged("an object runs past its end");
    const std::uint64_t count = readBigEndian(_d + pos + 1, width);
    pos += 1 + width;
    return count;
}

BinaryPlistReader::Object BinaryPlistReader::object(std::uint64_t index) const {
    if (index >= _numObjects) ArchiveError::damaged("a reference points outside the file");
    const std::uint64_t offset =
        readBigEndian(_d + _offsetTable + index * _offsetSize, _offsetSize);
    if (offset < 8 || offset >= _offsetTable)
        ArchiveError::damaged("an object lies outside the object area");
    std::size_t pos = std::size_t(offset);
    const unsigned marker = _d[pos++];
    const unsigned low = marker & 0xF;
    Object o;
    // A payload of n units of unitSize bytes starting at pos, checked to fit.
    auto payload = [&](Kind kind, std::uint64_t n, std::uint64_t unitSize, const char* what) {
        if (n > (_offsetTable - pos) / unitSize) ArchiveError::damaged(what);
        o.kind = kind;
        o.count = n;
        o.bytes = _d + pos;
        return o;
    };
    switch (marker >> 4) {
    case 0x0: // booleans only; null and fill are not used by property lists
        if (marker != 0x08 && marker != 0x09)
            ArchiveError::damaged("it holds an unknown kind of value");
        o.kind = Kind::Boolean;
        o.boolean = marker == 0x09;
        return o;
    case 0x1: // integer of 1, 2, 4, 8 or 16 bytes
        if (low > 4) ArchiveError::damaged("it holds an integer of impossible size");
        return payload(Kind::Integer, std::uint64_t(1) << low, 1, "an object runs past its end");
    case 0x2: // real of 4 or 8 bytes
        if (low != 2 && low != 3) ArchiveError::damaged("it holds a number of impossible size");
        return payload(Kind::Real, std::uint64_t(1) << low, 1, "an object runs past its end");
    case 0x3: // date: seconds as an 8-byte real
        if (marker != 0x33) ArchiveError::damaged("it holds a date of impossible size");
        return payload(Kind::Date, 8, 1, "an object runs past its end");
    case 0x4:
        return payload(Kind::Data, readCount(low, pos), 1, "a string or data runs past its end");
    case 0x5:
        return payload(Kind::AsciiString, readCount(low, pos), 1,
                       "a string or data runs past its end");
    case 0x6:
        return payload(Kind::Utf16String, readCount(low, pos), 2,
                       "a string or data runs past its end");
    case 0x8: // UID of 1, 2, 4 or 8 bytes
        if (!isPowerOfTwoUpTo8(low + 1))
            ArchiveError::damaged("it holds an object reference of impossible size");
        return payload(Kind::Uid, low + 1, 1, "an object runs past its end");
    case 0xA:
        return payload(Kind::Array, readCount(low, pos), _refSize, "a list runs past its end");
    case 0xD: // keys, then values
        return payload(Kind::Dictionary, readCount(low, pos), 2 * std::uint64_t(_refSize),
                       "a list runs past its end");
    default:
        ArchiveError::damaged("it holds an unknown kind of value");
    }
}

std::uint64_t BinaryPlistReader::reference(const Object& container, std::uint64_t i) const {
    const std::uint64_t ref = readBigEndian(container.bytes + i * _refSize, _refSize);
    if (ref >= _numObjects) ArchiveError::damaged("a reference points outside the file");
    return ref;
}

std::optional<std::uint64_t> BinaryPlistReader::find(const Object& dictionary,
                                                     std::string_view key) const {
    if (dictionary.kind != Kind::Dictionary) return std::nullopt;
    for (std::uint64_t i = 0; i < dictionary.count; ++i) {
        const Object k = object(reference(dictionary, i));
        if (!k.isString()) ArchiveError::damaged("a dictionary key is not a string");
        if (stringEquals(k, key)) return reference(dictionary, dictionary.count + i);
    }
    return std::nullopt;
}

std::uint64_t BinaryPlistReader::unsignedValue(const Object& o) {
    // 16-byte integers keep their low 64 bits; 8-byte ones are signed and
    // come back as their two's complement.
    const std::uint64_t width = o.count > 8 ? 8 : o.count;
    return readBigEndian(o.bytes + (o.count - width), std::size_t(width));
}

double BinaryPlistReader::realValue(const Object& o) {
    if (o.count == 4) return std::bit_cast<float>(std::uint32_t(readBigEndian(o.bytes, 4)));
    return std::bit_cast<double>(readBigEndian(o.bytes, 8));
}

std::string BinaryPlistReader::stringValue(const Object& o) {
    if (o.kind == Kind::AsciiString)
        return std::string(reinterpret_cast<const char*>(o.bytes), std::size_t(o.count));
    std::string out;
    out.reserve(std::size_t(o.count));
    for (std::uint64_t i = 0; i < o.count; ++i) {
        char32_t c = char32_t(readBigEndian(o.bytes + 2 * i, 2));
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < o.count) {
            const auto next = char32_t(readBigEndian(o.bytes + 2 * (i + 1), 2));
            if (next >= 0xDC00 && next < 0xE000) {
                c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
                ++i;
            }
        }
        // Unpaired surrogates become the replacement character.
        if (c >= 0xD800 && c < 0xE000) c = 0xFFFD;
        appendUtf8(out, c);
    }
    return out;
}

bool BinaryPlistReader::stringEquals(const Object& o, std::string_view text) {
    if (o.count != text.size()) return false;
    if (o.kind == Kind::AsciiString) return std::memcmp(o.bytes, text.data(), text.size()) == 0;
    // A UTF-16 string equals ASCII text unit by unit.
    for (std::size_t i = 0; i < text.size(); ++i)
        if (readBigEndian(o.bytes + 2 * i, 2) != std::uint8_t(text[i])) return false;
    return true;
}
