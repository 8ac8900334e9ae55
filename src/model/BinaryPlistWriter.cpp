#include "model/BinaryPlistWriter.h"

#include "raster/Assert.h"

#include <QString>

#include <bit>
#include <cstring>
#include <functional>

namespace {

// Bytes needed for an unsigned value: 1, 2, 4 or 8.
unsigned widthFor(std::uint64_t v) {
    if (v <= 0xff) return 1;
    if (v <= 0xffff) return 2;
    if (v <= 0xffffffff) return 4;
    return 8;
}

// Writes v big-endian into out; returns the bytes written.
std::size_t putBigEndian(char* out, std::uint64_t v, unsigned width) {
    for (unsigned i = 0; i < width; ++i) out[i] = char((v >> (8 * (width - 1 - i))) & 0xff);
    return width;
}

void appendBigEndian(std::string& out, std::uint64_t v, unsigned width) {
    char b[8];
    out.append(b, putBigEndian(b, v, width));
}

// A marker with its count: in the low nibble, or 0xF and an integer.
std::size_t putMarker(char* out, unsigned type, std::uint64_t count) {
    if (count < 15) {
        out[0] = char(type << 4 | unsigned(count));
        return 1;
    }
    out[0] = char(type << 4 | 0xF);
    const unsigned width = widthFor(count);
    out[1] = char(0x10 | std::countr_zero(width));
    return 2 + putBigEndian(out + 2, count, width);
}

} // namespace

std::size_t BinaryPlistWriter::HeadHash::operator()(Ref r) const {
    return std::hash<std::string_view>()(w->headOf(w->_objects[r]));
}

bool BinaryPlistWriter::HeadEqual::operator()(Ref a, Ref b) const {
    return w->headOf(w->_objects[a]) == w->headOf(w->_objects[b]);
}

BinaryPlistWriter::Ref BinaryPlistWriter::add(const char* head, std::size_t size) {
    VIMO_ASSERT(_objects.size() < 0xffffffffu);
    _objects.push_back({_bytes.size(), size, 0, 0});
    _bytes.append(head, size);
    return Ref(_objects.size() - 1);
}

BinaryPlistWriter::Ref BinaryPlistWriter::shared(const char* head, std::size_t size) {
    const Ref candidate = add(head, size);
    auto [it, inserted] = _shared.insert(candidate);
    if (inserted) return candidate;
    // Already stored: drop the candidate again.
    _objects.pop_back();
    _bytes.resize(_bytes.size() - size);
    return *it;
}

BinaryPlistWriter::Ref BinaryPlistWriter::withCount(unsigned type, std::uint64_t count,
                                                    const char* payload, std::size_t size,
                                                    bool share) {
    char marker[16];
    const std::size_t markerSize = putMarker(marker, type, count);
    VIMO_ASSERT(_objects.size() < 0xffffffffu);
    _objects.push_back({_bytes.size(), markerSize + size, 0, 0});
    _bytes.append(marker, markerSize);
    _bytes.append(payload, size);
    const Ref candidate = Ref(_objects.size() - 1);
    if (!share) return candidate;
    auto [it, inserted] = _shared.insert(candidate);
    if (inserted) return candidate;
    _objects.pop_back();
    _bytes.resize(_bytes.size() - markerSize - size);
    return *it;
}

BinaryPlistWriter::Ref BinaryPlistWriter::boolean(bool value) {
    const char head = value ? '\x09' : '\x08';
    return shared(&head, 1);
}

BinaryPlistWriter::Ref BinaryPlistWriter::integer(std::int64_t value) {
    // Negative values take 8 bytes; the format reads those as signed.
    const unsigned width = value < 0 ? 8 : widthFor(std::uint64_t(value));
    char head[9];
    head[0] = char(0x10 | std::countr_zero(width));
    return shared(head, 1 + putBigEndian(head + 1, std::uint64_t(value), width));
}

BinaryPlistWriter::Ref BinaryPlistWriter::real(double value) {
    char head[9];
    head[0] = '\x23';
    return shared(head, 1 + putBigEndian(head + 1, std::bit_cast<std::uint64_t>(value), 8));
}

BinaryPlistWriter::Ref BinaryPlistWriter::uid(std::uint64_t value) {
    const unsigned width = widthFor(value);
    char head[9];
    head[0] = char(0x80 | (width - 1));
    return shared(head, 1 + putBigEndian(head + 1, value, width));
}

BinaryPlistWriter::Ref BinaryPlistWriter::string(std::string_view utf8) {
    bool ascii = true;
    for (char c : utf8) ascii = ascii && (static_cast<unsigned char>(c) < 0x80);
    if (ascii) return withCount(0x5, utf8.size(), utf8.data(), utf8.size(), true);
    const QString text = QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
    std::string utf16;
    utf16.reserve(std::size_t(text.size()) * 2);
    for (QChar ch : text) appendBigEndian(utf16, ch.unicode(), 2);
    return withCount(0x6, std::uint64_t(text.size()), utf16.data(), utf16.size(), true);
}

BinaryPlistWriter::Ref BinaryPlistWriter::data(const char* bytes, std::size_t size) {
    return withCount(0x4, size, bytes, size, false);
}

BinaryPlistWriter::Ref BinaryPlistWriter::array(std::vector<Ref> members) {
    const Ref ref = reserve();
    setArray(ref, std::move(members));
    return ref;
}

BinaryPlistWriter::Ref
BinaryPlistWriter::dictionary(const std::vector<std::pair<Ref, Ref>>& entries) {
    const Ref ref = reserve();
    setDictionary(ref, entries);
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::reserve() {
    return add(nullptr, 0);
}

void BinaryPlistWriter::setArray(Ref ref, std::vector<Ref> members) {
    Object& o = _objects.at(ref);
    VIMO_ASSERT(o.headSize == 0);
    char marker[16];
    const std::size_t markerSize = putMarker(marker, 0xA, members.size());
    o = {_bytes.size(), markerSize, _refs.size(), members.size()};
    _bytes.append(marker, markerSize);
    _refs.insert(_refs.end(), members.begin(), members.end());
}

void BinaryPlistWriter::setDictionary(Ref ref, const std::vector<std::pair<Ref, Ref>>& entries) {
    Object& o = _objects.at(ref);
    VIMO_ASSERT(o.headSize == 0);
    char marker[16];
    const std::size_t markerSize = putMarker(marker, 0xD, entries.size());
    o = {_bytes.size(), markerSize, _refs.size(), entries.size() * 2};
    _bytes.append(marker, markerSize);
    for (const auto& e : entries) _refs.push_back(e.first);
    for (const auto& e : entries) _refs.push_back(e.second);
}

QByteArray BinaryPlistWriter::finish(Ref root) const {
    VIMO_ASSERT(root < _objects.size());
    const unsigned refSize = widthFor(_objects.size() - 1);
    const std::size_t total = 8 + _bytes.size() + _refs.size() * refSize;
    const unsigned offsetSize = widthFor(total);
    QByteArray out(qsizetype(total + _objects.size() * offsetSize + 32), Qt::Uninitialized);
    char* p = out.data();
    std::memcpy(p, "bplist00", 8);
    p += 8;
    for (const Object& o : _objects) {
        VIMO_ASSERT(o.headSize != 0); // every reserved container was filled
        std::memcpy(p, _bytes.data() + o.head, o.headSize);
        p += o.headSize;
        for (std::size_t i = 0; i < o.refCount; ++i)
            p += putBigEndian(p, _refs[o.refs + i], refSize);
    }
    const auto tableOffset = std::uint64_t(p - out.data());
    std::uint64_t offset = 8;
    for (const Object& o : _objects) {
        p += putBigEndian(p, offset, offsetSize);
        offset += o.headSize + o.refCount * refSize;
    }
    std::memset(p, 0, 6);
    p[6] = char(offsetSize);
    p[7] = char(refSize);
    p += 8;
    p += putBigEndian(p, _objects.size(), 8);
    p += putBigEndian(p, root, 8);
    p += putBigEndian(p, tableOffset, 8);
    VIMO_ASSERT(p == out.data() + out.size());
    return out;
}
