#include "model/KeyedArchiver.h"

#include "model/AffineTransform.h"
#include "model/ArchiveBytes.h"
#include "model/BezierPath.h"
#include "raster/Assert.h"

#include <QBuffer>
#include <QImageWriter>

#include <plist/plist.h>

#include <algorithm>
#include <string>
#include <unordered_map>

using namespace archive_bytes;

namespace {

// The dictionary being filled: the top-level keys or one object's record.
struct Frame {
    plist_t dict;
    const Codable* object; // null for the top-level keys
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
    plist_t objects = plist_new_array();
    plist_t top = plist_new_dict();
    std::uint64_t objectCount = 0;
    std::unordered_map<std::string, std::uint64_t> classUids;
    std::vector<Frame> frames;
    BlockWriter writer{frames};
    bool finished = false;

    Impl() {
        plist_array_append_item(objects, plist_new_string("$null"));
        objectCount = 1;
        frames.push_back({top, nullptr, {}});
    }
    ~Impl() {
        if (!finished) {
            plist_free(objects);
            plist_free(top);
        }
    }

    plist_t current() {
        VIMO_ASSERT(!finished);
        return frames.back().dict;
    }
    void set(std::string_view key, plist_t value) {
        plist_dict_set_item(current(), std::string(key).c_str(), value);
    }

    std::uint64_t addObject(plist_t node) {
        plist_array_append_item(objects, node);
        return objectCount++;
    }

    std::uint64_t classUid(const char* name) {
        auto it = classUids.find(name);
        if (it != classUids.end()) return it->second;
        plist_t record = plist_new_dict();
        plist_dict_set_item(record, "$classname", plist_new_string(name));
        plist_t classes = plist_new_array();
        plist_array_append_item(classes, plist_new_string(name));
        plist_dict_set_item(record, "$classes", classes);
        const std::uint64_t uid = addObject(record);
        classUids.emplace(name, uid);
        return uid;
    }

    // A new object record of the class; returns its dictionary and sets *uid.
    plist_t newRecord(const char* className, std::uint64_t* uid) {
        plist_t dict = plist_new_dict();
        *uid = addObject(dict);
        plist_dict_set_item(dict, "$class", plist_new_uid(classUid(className)));
        return dict;
    }

    void flushValues(Frame& frame) {
        if (!frame.values.isEmpty())
            plist_dict_set_item(
                frame.dict, kValuesKey,
                plist_new_data(frame.values.constData(), std::uint64_t(frame.values.size())));
    }

    std::uint64_t encodeCodable(const Codable* object) {
        if (!object) return 0;
        // An object that contains itself cannot be read back.
        VIMO_ASSERT(std::none_of(frames.begin(), frames.end(),
                                 [object](const Frame& f) { return f.object == object; }));
        const std::string className = object->archiveClassName();
        std::uint64_t uid = 0;
        plist_t dict = newRecord(className.c_str(), &uid);
        frames.push_back({dict, object, {}});
        object->encodeWithCoder(*owner);
        flushValues(frames.back());
        frames.pop_back();
        return uid;
    }

    KeyedArchiver* owner = nullptr;
};

KeyedArchiver::KeyedArchiver() : _impl(std::make_unique<Impl>()) {
    _impl->owner = this;
}

KeyedArchiver::~KeyedArchiver() = default;

void KeyedArchiver::encodeObject(const Codable* object, std::string_view key) {
    const std::uint64_t uid = _impl->encodeCodable(object);
    _impl->set(key, plist_new_uid(uid));
}

void KeyedArchiver::encodeObjectArray(std::span<const Codable* const> objects,
                                      std::string_view key) {
    std::uint64_t uid = 0;
    plist_t dict = _impl->newRecord(kArrayClass, &uid);
    plist_t list = plist_new_array();
    for (const Codable* object : objects)
        plist_array_append_item(list, plist_new_uid(_impl->encodeCodable(object)));
    plist_dict_set_item(dict, "objects", list);
    _impl->set(key, plist_new_uid(uid));
}

void KeyedArchiver::encodeBool(bool value, std::string_view key) {
    _impl->set(key, plist_new_bool(value ? 1 : 0));
}

void KeyedArchiver::encodeInt(std::int64_t value, std::string_view key) {
    // Property lists store negative integers as 8-byte two's complement.
    _impl->set(key, plist_new_uint(std::uint64_t(value)));
}

void KeyedArchiver::encodeFloat(float value, std::string_view key) {
    _impl->set(key, plist_new_real(double(value)));
}

void KeyedArchiver::encodeDouble(double value, std::string_view key) {
    _impl->set(key, plist_new_real(value));
}

void KeyedArchiver::encodeString(const std::string& value, std::string_view key) {
    _impl->set(key, plist_new_uid(_impl->addObject(plist_new_string(value.c_str()))));
}

void KeyedArchiver::encodeData(const QByteArray& value, std::string_view key) {
    _impl->set(key, plist_new_uid(_impl->addObject(
                        plist_new_data(value.constData(), std::uint64_t(value.size())))));
}

void KeyedArchiver::encodeColor(const std::optional<Color>& value, std::string_view key) {
    if (!value) {
        _impl->set(key, plist_new_uid(0));
        return;
    }
    std::uint64_t uid = 0;
    plist_t dict = _impl->newRecord(kColorClass, &uid);
    plist_dict_set_item(dict, "space",
                        plist_new_uint(value->space() == Color::Space::DeviceRGB ? 1 : 0));
    QByteArray rgba;
    rgba.reserve(16);
    appendFloat(rgba, value->redComponent());
    appendFloat(rgba, value->greenComponent());
    appendFloat(rgba, value->blueComponent());
    appendFloat(rgba, value->alphaComponent());
    plist_dict_set_item(dict, "rgba", plist_new_data(rgba.constData(), 16));
    _impl->set(key, plist_new_uid(uid));
}

void KeyedArchiver::encodeBezierPath(const BezierPath* value, std::string_view key) {
    if (!value) {
        _impl->set(key, plist_new_uid(0));
        return;
    }
    std::uint64_t uid = 0;
    plist_t dict = _impl->newRecord(kBezierPathClass, &uid);
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
    plist_dict_set_item(dict, "elements",
                        plist_new_data(elements.constData(), std::uint64_t(elements.size())));
    plist_dict_set_item(dict, "line_width", plist_new_real(double(value->lineWidth())));
    plist_dict_set_item(dict, "line_join", plist_new_uint(std::uint64_t(value->lineJoinStyle())));
    plist_dict_set_item(dict, "winding_rule", plist_new_uint(std::uint64_t(value->windingRule())));
    _impl->set(key, plist_new_uid(uid));
}

void KeyedArchiver::encodeAffineTransform(const AffineTransform* value, std::string_view key) {
    if (!value) {
        _impl->set(key, plist_new_uid(0));
        return;
    }
    std::uint64_t uid = 0;
    plist_t dict = _impl->newRecord(kAffineTransformClass, &uid);
    const AffineMatrix& m = value->transformStruct();
    QByteArray matrix;
    matrix.reserve(24);
    for (float f : {m.a, m.b, m.c, m.d, m.tx, m.ty}) appendFloat(matrix, f);
    plist_dict_set_item(dict, "matrix", plist_new_data(matrix.constData(), 24));
    _impl->set(key, plist_new_uid(uid));
}

void KeyedArchiver::encodeImage(const QImage* value, std::string_view key) {
    if (!value || value->isNull()) {
        _impl->set(key, plist_new_uid(0));
        return;
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "PNG");
    const bool written = writer.write(*value);
    VIMO_ASSERT(written);
    std::uint64_t uid = 0;
    plist_t dict = _impl->newRecord(kImageClass, &uid);
    plist_dict_set_item(dict, "png", plist_new_data(png.constData(), std::uint64_t(png.size())));
    _impl->set(key, plist_new_uid(uid));
}

SequentialWriter& KeyedArchiver::sequentialValues() {
    VIMO_ASSERT(!_impl->finished);
    return _impl->writer;
}

QByteArray KeyedArchiver::finishEncoding() {
    VIMO_ASSERT(!_impl->finished);
    VIMO_ASSERT(_impl->frames.size() == 1);
    _impl->flushValues(_impl->frames.front());
    _impl->finished = true;
    plist_t root = plist_new_dict();
    plist_dict_set_item(root, "$archiver", plist_new_string(kArchiverName));
    plist_dict_set_item(root, "$top", _impl->top);
    plist_dict_set_item(root, "$objects", _impl->objects);
    plist_dict_set_item(root, "$version", plist_new_uint(kVersion));
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    plist_free(root);
    VIMO_ASSERT(bytes != nullptr);
    QByteArray out(bytes, qsizetype(length));
    plist_to_bin_free(bytes);
    return out;
}

QByteArray KeyedArchiver::archivedDataWithRootObject(const Codable& root) {
    KeyedArchiver archiver;
    archiver.encodeObject(&root, "root");
    return archiver.finishEncoding();
}
