#include "model/BinaryPlistWriter.h"

#include "raster/Assert.h"

#include <QString>
#include <QtEndian>

#include <bit>

namespace {

// Bytes needed for an unsigned value: 1, 2, 4 or 8.
unsigned widthFor(std::uint64_t v) {
    if (v <= 0xff) return 1;
    if (v <= 0xffff) return 2;
    if (v <= 0xffffffff) return 4;
    return 8;
}

void appendBigEndian(QByteArray& out, std::uint64_t v, unsigned width) {
    for (unsigned i = width; i-- > 0;) out.append(char((v >> (8 * i)) & 0xff));
}

// A marker with its count: in the low nibble, or 0xF and an integer.
QByteArray markerWithCount(unsigned type, std::uint64_t count) {
    QByteArray head;
    if (count < 15) {
        head.append(char(type << 4 | unsigned(count)));
    } else {
        head.append(char(type << 4 | 0xF));
        const unsigned width = widthFor(count);
        head.append(char(0x10 | std::countr_zero(width)));
        appendBigEndian(head, count, width);
    }
    return head;
}

} // namespace

BinaryPlistWriter::Ref BinaryPlistWriter::add(Object object) {
    VIMO_ASSERT(_objects.size() < 0xffffffffu);
    _objects.push_back(std::move(object));
    return Ref(_objects.size() - 1);
}

BinaryPlistWriter::Ref BinaryPlistWriter::shared(QByteArray head) {
    std::string key(head.constData(), std::size_t(head.size()));
    auto it = _shared.find(key);
    if (it != _shared.end()) return it->second;
    const Ref ref = add({std::move(head), {}});
    _shared.emplace(std::move(key), ref);
    return ref;
}

BinaryPlistWriter::Ref BinaryPlistWriter::boolean(bool value) {
    return shared(QByteArray(1, value ? '\x09' : '\x08'));
}

BinaryPlistWriter::Ref BinaryPlistWriter::integer(std::int64_t value) {
    // Negative values take 8 bytes; the format reads those as signed.
    const unsigned width = value < 0 ? 8 : widthFor(std::uint64_t(value));
    QByteArray head(1, char(0x10 | std::countr_zero(width)));
    appendBigEndian(head, std::uint64_t(value), width);
    return shared(std::move(head));
}

BinaryPlistWriter::Ref BinaryPlistWriter::real(double value) {
    QByteArray head(1, '\x23');
    appendBigEndian(head, std::bit_cast<std::uint64_t>(value), 8);
    return shared(std::move(head));
}

BinaryPlistWriter::Ref BinaryPlistWriter::uid(std::uint64_t value) {
    const unsigned width = widthFor(value);
    QByteArray head(1, char(0x80 | (width - 1)));
    appendBigEndian(head, value, width);
    return shared(std::move(head));
}

BinaryPlistWriter::Ref BinaryPlistWriter::string(std::string_view utf8) {
    bool ascii = true;
    for (char c : utf8) ascii = ascii && (static_cast<unsigned char>(c) < 0x80);
    if (ascii) {
        QByteArray head = markerWithCount(0x5, utf8.size());
        head.append(utf8.data(), qsizetype(utf8.size()));
        return shared(std::move(head));
    }
    const QString text = QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
    QByteArray head = markerWithCount(0x6, std::uint64_t(text.size()));
    for (QChar ch : text) appendBigEndian(head, ch.unicode(), 2);
    return shared(std::move(head));
}

BinaryPlistWriter::Ref BinaryPlistWriter::data(const char* bytes, std::size_t size) {
    QByteArray head = markerWithCount(0x4, size);
    head.append(bytes, qsizetype(size));
    return add({std::move(head), {}});
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
    return add({});
}

void BinaryPlistWriter::setArray(Ref ref, std::vector<Ref> members) {
    Object& o = _objects.at(ref);
    o.head = markerWithCount(0xA, members.size());
    o.refs = std::move(members);
}

void BinaryPlistWriter::setDictionary(Ref ref, const std::vector<std::pair<Ref, Ref>>& entries) {
    Object& o = _objects.at(ref);
    o.head = markerWithCount(0xD, entries.size());
    o.refs.clear();
    o.refs.reserve(entries.size() * 2);
    for (const auto& e : entries) o.refs.push_back(e.first);
    for (const auto& e : entries) o.refs.push_back(e.second);
}

QByteArray BinaryPlistWriter::finish(Ref root) const {
    VIMO_ASSERT(root < _objects.size());
    const unsigned refSize = widthFor(_objects.size() - 1);
    std::size_t total = 8 + 32;
    for (const Object& o : _objects) total += std::size_t(o.head.size()) + o.refs.size() * refSize;
    const unsigned offsetSize = widthFor(total);
    QByteArray out;
    out.reserve(qsizetype(total + _objects.size() * offsetSize));
    out.append("bplist00", 8);
    std::vector<std::uint64_t> offsets;
    offsets.reserve(_objects.size());
    for (const Object& o : _objects) {
        VIMO_ASSERT(!o.head.isEmpty()); // every reserved container was filled
        offsets.push_back(std::uint64_t(out.size()));
        out.append(o.head);
        for (Ref r : o.refs) appendBigEndian(out, r, refSize);
    }
    const auto tableOffset = std::uint64_t(out.size());
    for (std::uint64_t off : offsets) appendBigEndian(out, off, offsetSize);
    out.append(QByteArray(6, '\0'));
    out.append(char(offsetSize));
    out.append(char(refSize));
    appendBigEndian(out, _objects.size(), 8);
    appendBigEndian(out, root, 8);
    appendBigEndian(out, tableOffset, 8);
    return out;
}
