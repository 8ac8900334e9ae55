#include "model/KeyedArchiver.h"

#include "model/AffineTransform.h"
#include "model/ArchiveBytes.h"
#include "model/BezierPath.h"
#include "model/BinaryPlistWriter.h"
#include "raster/Assert.h"

#include <QBuffer>
#include <QImageWriter>

#include <algorithm>
#include <string>
#include <unordered_map>

using namespace archive_bytes;

namespace {

using Ref = BinaryPlistWriter::Ref;
using Entries = std::vector<std::pair<Ref, Ref>>;

// The dictionary being filled: the top-level keys or one object's record.
struct Frame {
    Entries entries;
    const Codable* object; // null for the top-level keys
    Ref record;            // the record's reserved slot (unused for the top level)
    QByteArray values;
};

// Appends to the value block of the object being encoded.
class BlockWriter final : public SequentialWriter {
public:
    explicit BlockWriter(std::vector<Frame>& frames) : _frames(frames) {}
    void writeUInt8(std::uint8_t v) override { appendUInt8(block(), v); }
    void writeInt16(std::int16_t v) override { appendUInt16(block(), std::uint16_t(v)); }
    void writeInt32(std::int32_t v) override { appendUInt32(block(), std::uint32_t(v)); }
    void writeFloat(float v) override { appendFloat(block(), v); }

private:
    QByteArray& block() { return _frames.back().values; }
    std::vector<Frame>& _frames;
};

} // namespace

struct KeyedArchiver::Impl {
    BinaryPlistWriter plist;
    std::vector<Ref> objects; // $objects, indexed by UID
    std::unordered_map<std::string, std::uint64_t> classUids;
    std::vector<Frame> frames;
    BlockWriter writer{frames};
    KeyedArchiver* owner = nullptr;
    bool finished = false;

    Impl() {
        objects.push_back(plist.string("$null"));
        frames.push_back({{}, nullptr, 0, {}});
    }

    Entries& current() {
        VIMO_ASSERT(!finished);
        return frames.back().entries;
    }
    void set(std::string_view key, Ref value) { current().emplace_back(plist.string(key), value); }
    void setUid(std::string_view key, std::uint64_t uid) { set(key, plist.uid(uid)); }

    std::uint64_t addObject(Ref ref) {
        objects.push_back(ref);
        return objects.size() - 1;
    }

    std::uint64_t classUid(const char* name) {
        auto it = classUids.find(name);
        if (it != classUids.end()) return it->second;
        const Ref className = plist.string(name);
        const Ref record = plist.dictionary({{plist.string("$classname"), className},
                                             {plist.string("$classes"), plist.array({className})}});
        const std::uint64_t uid = addObject(record);
        classUids.emplace(name, uid);
        return uid;
    }

    // A value-class record made of the given entries; returns its UID.
    std::uint64_t valueRecord(const char* className, Entries entries) {
        entries.insert(entries.begin(), {plist.string("$class"), plist.uid(classUid(className))});
        return addObject(plist.dictionary(entries));
    }
    Ref blob(const QByteArray& bytes) {
        return plist.data(bytes.constData(), std::size_t(bytes.size()));
    }

    // Closes a frame into its record (or, for the top level, returns its entries).
    void flushValues(Frame& frame) {
        if (!frame.values.isEmpty())
            frame.entries.emplace_back(plist.string(kValuesKey), blob(frame.values));
    }

    std::uint64_t encodeCodable(const Codable* object) {
        if (!object) return 0;
        // An object that contains itself cannot be read back.
        VIMO_ASSERT(std::none_of(frames.begin(), frames.end(),
                                 [object](const Frame& f) { return f.object == object; }));
        const std::string className = object->archiveClassName();
        const Ref record = plist.reserve();
        const std::uint64_t uid = addObject(record);
        frames.push_back({{{plist.string("$class"), plist.uid(classUid(className.c_str()))}},
                          object,
                          record,
                          {}});
        object->encodeWithCoder(*owner);
        Frame& frame = frames.back();
        flushValues(frame);
        plist.setDictionary(frame.record, frame.entries);
        frames.pop_back();
        return uid;
    }
};

KeyedArchiver::KeyedArchiver() : _impl(std::make_unique<Impl>()) {
    _impl->owner = this;
}

KeyedArchiver::~KeyedArchiver() = default;

void KeyedArchiver::encodeObject(const Codable* object, std::string_view key) {
    _impl->setUid(key, _impl->encodeCodable(object));
}

void KeyedArchiver::encodeObjectArray(std::span<const Codable* const> objects,
                                      std::string_view key) {
    std::vector<Ref> list;
    list.reserve(objects.size());
    for (const Codable* object : objects)
        list.push_back(_impl->plist.uid(_impl->encodeCodable(object)));
    BinaryPlistWriter& p = _impl->plist;
    _impl->setUid(
        key, _impl->valueRecord(kArrayClass, {{p.string("objects"), p.array(std::move(list))}}));
}

void KeyedArchiver::encodeBool(bool value, std::string_view key) {
    _impl->set(key, _impl->plist.boolean(value));
}

void KeyedArchiver::encodeInt(std::int64_t value, std::string_view key) {
    _impl->set(key, _impl->plist.integer(value));
}

void KeyedArchiver::encodeFloat(float value, std::string_view key) {
    _impl->set(key, _impl->plist.real(double(value)));
}

void KeyedArchiver::encodeDouble(double value, std::string_view key) {
    _impl->set(key, _impl->plist.real(value));
}

void KeyedArchiver::encodeString(const std::string& value, std::string_view key) {
    _impl->setUid(key, _impl->addObject(_impl->plist.string(value)));
}

void KeyedArchiver::encodeData(const QByteArray& value, std::string_view key) {
    _impl->setUid(key, _impl->addObject(_impl->blob(value)));
}

void KeyedArchiver::encodeColor(const std::optional<Color>& value, std::string_view key) {
    if (!value) return _impl->setUid(key, 0);
    QByteArray rgba;
    rgba.reserve(16);
    appendFloat(rgba, value->redComponent());
    appendFloat(rgba, value->greenComponent());
    appendFloat(rgba, value->blueComponent());
    appendFloat(rgba, value->alphaComponent());
    BinaryPlistWriter& p = _impl->plist;
    const bool device = value->space() == Color::Space::DeviceRGB;
    _impl->setUid(key,
                  _impl->valueRecord(kColorClass, {{p.string("space"), p.integer(device ? 1 : 0)},
                                                   {p.string("rgba"), _impl->blob(rgba)}}));
}

void KeyedArchiver::encodeBezierPath(const BezierPath* value, std::string_view key) {
    if (!value) return _impl->setUid(key, 0);
    QByteArray elements;
    elements.reserve(qsizetype(value->elements().size()) * 9);
    for (const PathElement& e : value->elements()) {
        const int n = pointsForElementType(std::uint8_t(e.type));
        VIMO_ASSERT(n >= 0);
        appendUInt8(elements, std::uint8_t(e.type));
        for (int i = 0; i < n; ++i) {
            appendFloat(elements, e.points[i].x);
            appendFloat(elements, e.points[i].y);
        }
    }
    BinaryPlistWriter& p = _impl->plist;
    _impl->setUid(key,
                  _impl->valueRecord(
                      kBezierPathClass,
                      {{p.string("elements"), _impl->blob(elements)},
                       {p.string("line_width"), p.real(double(value->lineWidth()))},
                       {p.string("line_join"), p.integer(std::int64_t(value->lineJoinStyle()))},
                       {p.string("winding_rule"), p.integer(std::int64_t(value->windingRule()))}}));
}

void KeyedArchiver::encodeAffineTransform(const AffineTransform* value, std::string_view key) {
    if (!value) return _impl->setUid(key, 0);
    const AffineMatrix& m = value->transformStruct();
    QByteArray matrix;
    matrix.reserve(24);
    for (float f : {m.a, m.b, m.c, m.d, m.tx, m.ty}) appendFloat(matrix, f);
    BinaryPlistWriter& p = _impl->plist;
    _impl->setUid(key, _impl->valueRecord(kAffineTransformClass,
                                          {{p.string("matrix"), _impl->blob(matrix)}}));
}

void KeyedArchiver::encodeImage(const QImage* value, std::string_view key) {
    if (!value || value->isNull()) return _impl->setUid(key, 0);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "PNG");
    const bool written = writer.write(*value);
    VIMO_ASSERT(written);
    BinaryPlistWriter& p = _impl->plist;
    _impl->setUid(key, _impl->valueRecord(kImageClass, {{p.string("png"), _impl->blob(png)}}));
}

SequentialWriter& KeyedArchiver::sequentialValues() {
    VIMO_ASSERT(!_impl->finished);
    return _impl->writer;
}

QByteArray KeyedArchiver::finishEncoding() {
    VIMO_ASSERT(!_impl->finished);
    VIMO_ASSERT(_impl->frames.size() == 1);
    Impl& d = *_impl;
    d.flushValues(d.frames.front());
    d.finished = true;
    BinaryPlistWriter& p = d.plist;
    const Ref top = p.dictionary(d.frames.front().entries);
    const Ref objects = p.array(std::move(d.objects));
    const Ref root = p.dictionary({{p.string("$archiver"), p.string(kArchiverName)},
                                   {p.string("$top"), top},
                                   {p.string("$objects"), objects},
                                   {p.string("$version"), p.integer(std::int64_t(kVersion))}});
    return p.finish(root);
}

QByteArray KeyedArchiver::archivedDataWithRootObject(const Codable& root) {
    KeyedArchiver archiver;
    archiver.encodeObject(&root, "root");
    return archiver.finishEncoding();
}
