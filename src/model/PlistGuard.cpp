#include "model/PlistGuard.h"

#include "model/ArchiveError.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

[[noreturn]] void damaged(const std::string& what) {
    throw ArchiveError("the file is damaged: " + what);
}

std::uint64_t readBigEndian(const unsigned char* p, std::size_t n) {
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < n; ++i) v = (v << 8) | p[i];
    return v;
}

bool isPowerOfTwoUpTo8(unsigned n) {
    return n == 1 || n == 2 || n == 4 || n == 8;
}

enum class Kind { Leaf, String, Array, Dict };

// One object's type and extent.
struct Object {
    Kind kind = Kind::Leaf;
    std::uint64_t count = 0;     // entries of an array or dict
    std::uint64_t leafBytes = 0; // payload bytes of a string or data
    std::size_t refs = 0;        // offset of the first reference
};

class Walker {
public:
    Walker(const unsigned char* data, std::size_t size, const PlistGuard::Limits& limits)
        : _d(data), _size(size), _limits(limits) {}

    void run();

private:
    Object parseObject(std::uint64_t index) const;
    std::uint64_t readCount(unsigned low, std::size_t& pos) const;
    std::uint64_t refAt(std::size_t pos) const { return readBigEndian(_d + pos, _refSize); }

    const unsigned char* _d;
    std::size_t _size;
    PlistGuard::Limits _limits;
    unsigned _offsetSize = 0;
    unsigned _refSize = 0;
    std::uint64_t _numObjects = 0;
    std::uint64_t _offsetTable = 0;
};

std::uint64_t Walker::readCount(unsigned low, std::size_t& pos) const {
    if (low != 0xF) return low;
    // The count follows as an integer object of 1, 2, 4 or 8 bytes.
    if (pos >= _offsetTable) damaged("an object runs past its end");
    const unsigned marker = _d[pos];
    const unsigned width = 1u << (marker & 0xF);
    if ((marker & 0xF0) != 0x10 || width > 8) damaged("an object has a malformed length");
    if (_offsetTable - pos - 1 < width) damaged("an object runs past its end");
    const std::uint64_t count = readBigEndian(_d + pos + 1, width);
    pos += 1 + width;
    return count;
}

Object Walker::parseObject(std::uint64_t index) const {
    const std::uint64_t offset =
        readBigEndian(_d + _offsetTable + index * _offsetSize, _offsetSize);
    if (offset < 8 || offset >= _offsetTable) damaged("an object lies outside the object area");
    std::size_t pos = std::size_t(offset);
    const unsigned marker = _d[pos++];
    const unsigned low = marker & 0xF;
    const std::uint64_t room = _offsetTable - pos;
    auto need = [&](std::uint64_t bytes) {
        if (bytes > room) damaged("an object runs past its end");
    };
    Object o;
    switch (marker >> 4) {
    case 0x0: // booleans only; null and fill are not used by property lists
        if (marker != 0x08 && marker != 0x09) damaged("it holds an unknown kind of value");
        return o;
    case 0x1: // integer of 1, 2, 4, 8 or 16 bytes
        if (low > 4) damaged("it holds an integer of impossible size");
        need(std::uint64_t(1) << low);
        return o;
    case 0x2: // real of 4 or 8 bytes
        if (low != 2 && low != 3) damaged("it holds a number of impossible size");
        need(std::uint64_t(1) << low);
        return o;
    case 0x3: // date
        if (marker != 0x33) damaged("it holds a date of impossible size");
        need(8);
        return o;
    case 0x4:   // data
    case 0x5:   // ASCII string
    case 0x6: { // UTF-16 string
        const std::uint64_t count = readCount(low, pos);
        const std::uint64_t unit = (marker >> 4) == 0x6 ? 2 : 1;
        const std::uint64_t left = _offsetTable - pos;
        if (count > left / unit) damaged("a string or data runs past its end");
        o.kind = (marker >> 4) == 0x4 ? Kind::Leaf : Kind::String;
        o.leafBytes = count * unit;
        return o;
    }
    case 0x8: // UID of 1, 2, 4 or 8 bytes
        if (!isPowerOfTwoUpTo8(low + 1)) damaged("it holds an object reference of impossible size");
        need(low + 1);
        return o;
    case 0xA:   // array
    case 0xD: { // dictionary: keys, then values
        const std::uint64_t count = readCount(low, pos);
        const std::uint64_t perEntry = (marker >> 4) == 0xD ? 2u * _refSize : _refSize;
        const std::uint64_t left = _offsetTable - pos;
        if (count > left / perEntry) damaged("a list runs past its end");
        o.kind = (marker >> 4) == 0xD ? Kind::Dict : Kind::Array;
        o.count = count;
        o.refs = pos;
        return o;
    }
    default:
        damaged("it holds an unknown kind of value");
    }
}

void Walker::run() {
    // Header and 32-byte trailer.
    if (_size < 8 + 1 + 32 || std::memcmp(_d, "bplist00", 8) != 0)
        throw ArchiveError("not a Vimo file");
    if (_size > std::numeric_limits<std::uint32_t>::max() || _size > (std::size_t(1) << 30))
        damaged("it is larger than 1 GiB");
    const unsigned char* trailer = _d + _size - 32;
    _offsetSize = trailer[6];
    _refSize = trailer[7];
    _numObjects = readBigEndian(trailer + 8, 8);
    const std::uint64_t root = readBigEndian(trailer + 16, 8);
    _offsetTable = readBigEndian(trailer + 24, 8);
    // Writers use any width from 1 to 8 bytes (libplist writes 3-byte offsets).
    if (_offsetSize < 1 || _offsetSize > 8 || _refSize < 1 || _refSize > 8)
        damaged("its property list has a malformed trailer");
    const std::uint64_t tableEnd = _size - 32;
    if (_numObjects == 0 || root >= _numObjects || _offsetTable < 9 || _offsetTable > tableEnd ||
        _numObjects > (tableEnd - _offsetTable) / _offsetSize)
        damaged("its property list has a malformed trailer");

    const std::uint64_t leafLimit = std::min(
        _limits.maxLeafBytes, std::uint64_t(_size) * _limits.maxLeafExpansion + (16u << 20));
    std::vector<bool> seen(std::size_t(_numObjects), false);
    struct Entry {
        std::uint64_t index;
        std::size_t depth;
    };
    std::vector<Entry> stack{{root, 1}};
    std::uint64_t nodes = 0;
    std::uint64_t leafBytes = 0;
    while (!stack.empty()) {
        const Entry e = stack.back();
        stack.pop_back();
        const Object o = parseObject(e.index);
        if (++nodes > _limits.maxNodes) damaged("it holds too many values");
        if (o.kind == Kind::Leaf || o.kind == Kind::String) {
            leafBytes += o.leafBytes;
            if (leafBytes > leafLimit) damaged("it holds too much data");
            continue;
        }
        if (seen[std::size_t(e.index)]) damaged("a list is contained twice or contains itself");
        seen[std::size_t(e.index)] = true;
        if (e.depth >= _limits.maxDepth) damaged("its values are nested too deeply");
        std::size_t pos = o.refs;
        if (o.kind == Kind::Dict) {
            // Keys must be strings; they are leaves, counted here.
            for (std::uint64_t i = 0; i < o.count; ++i, pos += _refSize) {
                const std::uint64_t key = refAt(pos);
                if (key >= _numObjects) damaged("a reference points outside the file");
                const Object k = parseObject(key);
                if (k.kind != Kind::String) damaged("a dictionary key is not a string");
                if (++nodes > _limits.maxNodes) damaged("it holds too many values");
                leafBytes += k.leafBytes;
                if (leafBytes > leafLimit) damaged("it holds too much data");
            }
        }
        for (std::uint64_t i = 0; i < o.count; ++i, pos += _refSize) {
            const std::uint64_t child = refAt(pos);
            if (child >= _numObjects) damaged("a reference points outside the file");
            stack.push_back({child, e.depth + 1});
        }
    }
}

} // namespace

void PlistGuard::check(const char* data, std::size_t size, const Limits& limits) {
    Walker(reinterpret_cast<const unsigned char*>(data), size, limits).run();
}
