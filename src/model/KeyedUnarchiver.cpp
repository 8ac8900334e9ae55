#include "model/KeyedUnarchiver.h"

#include "model/AffineTransform.h"
#include "model/ArchiveBytes.h"
#include "model/ArchiveClasses.h"
#include "model/BezierPath.h"
#include "model/PlistGuard.h"
#include "raster/Assert.h"

#include <QBuffer>
#include <QImageReader>

#include <plist/plist.h>

#include <cmath>
#include <cstdlib>
#include <mutex>
#include <unordered_map>

using namespace archive_bytes;

namespace {

// Objects nest this deep at most (a document holds its stroke list, which
// holds strokes, which hold pen points: a handful of levels).
constexpr std::size_t kMaxObjectDepth = 256;
// Largest image an archive may hold, in pixels (256 MiB of RGBA).
constexpr std::int64_t kMaxImagePixels = std::int64_t(64) << 20;

[[noreturn]] void damaged(const std::string& what) {
    throw ArchiveError("the file is damaged: " + what);
}

std::string quoted(std::string_view key) {
    std::string out;
    out.reserve(key.size() + 2);
    out += '"';
    out.append(key);
    out += '"';
    return out;
}

std::unordered_map<std::string, KeyedUnarchiver::Factory>& registry() {
    static std::unordered_map<std::string, KeyedUnarchiver::Factory> factories;
    return factories;
}

bool isValueClass(std::string_view name) {
    return name == KeyedArchiver::kColorClass || name == KeyedArchiver::kBezierPathClass ||
           name == KeyedArchiver::kAffineTransformClass || name == KeyedArchiver::kImageClass ||
           name == KeyedArchiver::kArrayClass;
}

// The dictionary being read and its unkeyed value block.
struct Frame {
    plist_t dict;
    const char* values = nullptr;
    std::uint64_t valuesSize = 0;
    std::uint64_t position = 0;
};

class BlockReader final : public SequentialReader {
public:
    explicit BlockReader(std::vector<Frame>& frames) : _frames(frames) {}
    std::uint8_t readUInt8() override { return std::uint8_t(*take(1)); }
    std::int16_t readInt16() override { return std::int16_t(readUInt16(take(2))); }
    std::int32_t readInt32() override { return std::int32_t(readUInt32(take(4))); }
    float readFloat() override { return archive_bytes::readFloat(take(4)); }
    std::uint64_t remaining() const override {
        const Frame& f = _frames.back();
        return f.valuesSize - f.position;
    }

private:
    const char* take(std::uint64_t n) {
        Frame& f = _frames.back();
        if (f.valuesSize - f.position < n) damaged("an object's list of values ends too soon");
        const char* p = f.values + f.position;
        f.position += n;
        return p;
    }
    std::vector<Frame>& _frames;
};

} // namespace

struct KeyedUnarchiver::Impl {
    enum class State : std::uint8_t { NotRead, Reading, Read };

    plist_t root = nullptr;
    std::vector<plist_t> objects;
    std::vector<State> states;
    std::vector<std::shared_ptr<Codable>> decoded;
    std::vector<Frame> frames;
    BlockReader reader{frames};
    std::uint64_t references = 0;
    std::uint64_t referenceLimit = 0;

    ~Impl() {
        if (root) plist_free(root);
    }

    static Frame frameFor(plist_t dict) {
        Frame f{dict};
        plist_t values = plist_dict_get_item(dict, KeyedArchiver::kValuesKey);
        if (values) {
            if (plist_get_node_type(values) != PLIST_DATA)
                damaged("an object's list of values is not data");
            f.values = plist_get_data_ptr(values, &f.valuesSize);
        }
        return f;
    }

    plist_t lookup(std::string_view key) const {
        return plist_dict_get_item(frames.back().dict, std::string(key).c_str());
    }

    std::uint64_t uidOf(plist_t value, std::string_view key) const {
        if (plist_get_node_type(value) != PLIST_UID)
            damaged(quoted(key) + " should refer to an object but holds a plain value");
        std::uint64_t uid = 0;
        plist_get_uid_val(value, &uid);
        if (uid >= objects.size()) damaged(quoted(key) + " refers to a missing object");
        return uid;
    }

    void countReference() {
        if (++references > referenceLimit) damaged("its objects refer to each other too often");
    }

    // The class name of an object record, or empty when the object is a
    // plain property-list value (string, data, array).
    std::string classNameOf(plist_t object) const {
        if (plist_get_node_type(object) != PLIST_DICT) return {};
        plist_t classRef = plist_dict_get_item(object, "$class");
        if (!classRef) damaged("an object does not name its class");
        std::uint64_t uid = 0;
        if (plist_get_node_type(classRef) == PLIST_UID) plist_get_uid_val(classRef, &uid);
        if (uid == 0 || uid >= objects.size()) damaged("an object's class is missing");
        plist_t record = objects[uid];
        plist_t name = plist_get_node_type(record) == PLIST_DICT
                           ? plist_dict_get_item(record, "$classname")
                           : nullptr;
        if (!name || plist_get_node_type(name) != PLIST_STRING)
            damaged("an object's class has no name");
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(name, &length);
        return std::string(text, std::size_t(length));
    }

    // The record of a value class under key, or null for a missing key or
    // the null object.
    plist_t valueRecord(std::string_view key, const char* className, const char* what) {
        plist_t value = lookup(key);
        if (!value) return nullptr;
        const std::uint64_t uid = uidOf(value, key);
        if (uid == 0) return nullptr;
        countReference();
        plist_t object = objects[uid];
        if (classNameOf(object) != className) damaged(quoted(key) + " is not " + what);
        return object;
    }

    std::shared_ptr<Codable> decodeAt(std::uint64_t uid, std::string_view key,
                                      KeyedUnarchiver& owner) {
        if (uid == 0) return nullptr;
        countReference();
        switch (states[uid]) {
        case State::Read:
            return decoded[uid];
        case State::Reading:
            damaged("an object contains itself");
        case State::NotRead:
            break;
        }
        const std::string className = classNameOf(objects[uid]);
        if (className.empty() || isValueClass(className))
            damaged(quoted(key) + " holds a plain value where an object was expected");
        auto factory = registry().find(className);
        if (factory == registry().end())
            damaged("it holds an object of unknown class \"" + className + "\"");
        if (frames.size() > kMaxObjectDepth) damaged("its objects are nested too deeply");

        frames.push_back(frameFor(objects[uid]));
        states[uid] = State::Reading;
        struct Pop {
            Impl* impl;
            std::uint64_t uid;
            bool done = false;
            ~Pop() {
                impl->frames.pop_back();
                if (!done) impl->states[uid] = State::NotRead;
            }
        } pop{this, uid};
        std::shared_ptr<Codable> object = factory->second(owner);
        decoded[uid] = object;
        states[uid] = State::Read;
        pop.done = true;
        return object;
    }

    // An array of object references: a "VimoArray" record's list or a plain
    // property-list array.
    std::vector<std::shared_ptr<Codable>> decodeList(plist_t list, std::string_view key,
                                                     KeyedUnarchiver& owner) {
        std::vector<std::shared_ptr<Codable>> result;
        const std::uint32_t n = plist_array_get_size(list);
        result.reserve(n);
        plist_array_iter it = nullptr;
        plist_array_new_iter(list, &it);
        // Freed however the loop ends: decoding an element may throw.
        const std::unique_ptr<void, void (*)(void*)> iterator(it, free);
        for (std::uint32_t i = 0; i < n; ++i) {
            plist_t item = nullptr;
            plist_array_next_item(list, it, &item);
            if (!item) break;
            result.push_back(decodeAt(uidOf(item, key), key, owner));
        }
        return result;
    }
};

KeyedUnarchiver::KeyedUnarchiver(const QByteArray& data) : _impl(std::make_unique<Impl>()) {
    static std::once_flag registered;
    std::call_once(registered, registerModelArchiveClasses);

    PlistGuard::check(data.constData(), std::size_t(data.size()));
    plist_from_bin(data.constData(), std::uint32_t(data.size()), &_impl->root);
    plist_t root = _impl->root;
    if (!root) damaged("its property list cannot be read");
    auto item = [root](const char* key, plist_type type) -> plist_t {
        if (plist_get_node_type(root) != PLIST_DICT) return nullptr;
        plist_t v = plist_dict_get_item(root, key);
        return v && plist_get_node_type(v) == type ? v : nullptr;
    };
    plist_t archiver = item("$archiver", PLIST_STRING);
    if (!archiver || plist_string_val_compare(archiver, KeyedArchiver::kArchiverName) != 0)
        throw ArchiveError("not a Vimo file");
    plist_t top = item("$top", PLIST_DICT);
    plist_t objects = item("$objects", PLIST_ARRAY);
    if (!top || !objects || !item("$version", PLIST_UINT))
        damaged("its archive lacks its table of objects");

    const std::uint32_t n = plist_array_get_size(objects);
    _impl->objects.reserve(n);
    plist_array_iter it = nullptr;
    plist_array_new_iter(objects, &it);
    for (std::uint32_t i = 0; i < n; ++i) {
        plist_t object = nullptr;
        plist_array_next_item(objects, it, &object);
        if (!object) break;
        _impl->objects.push_back(object);
    }
    free(it);
    if (_impl->objects.empty() || plist_get_node_type(_impl->objects[0]) != PLIST_STRING ||
        plist_string_val_compare(_impl->objects[0], "$null") != 0)
        damaged("its table of objects does not start with the null object");
    _impl->states.assign(_impl->objects.size(), Impl::State::NotRead);
    _impl->decoded.resize(_impl->objects.size());
    _impl->referenceLimit = 16 * std::uint64_t(_impl->objects.size()) + 65536;
    _impl->frames.push_back(Impl::frameFor(top));
}

KeyedUnarchiver::~KeyedUnarchiver() = default;

bool KeyedUnarchiver::containsValueForKey(std::string_view key) const {
    return _impl->lookup(key) != nullptr;
}

std::shared_ptr<Codable> KeyedUnarchiver::decodeObject(std::string_view key) {
    plist_t value = _impl->lookup(key);
    if (!value) return nullptr;
    return _impl->decodeAt(_impl->uidOf(value, key), key, *this);
}

std::optional<std::vector<std::shared_ptr<Codable>>>
KeyedUnarchiver::decodeObjectArray(std::string_view key) {
    plist_t value = _impl->lookup(key);
    if (!value) return std::nullopt;
    if (plist_get_node_type(value) == PLIST_ARRAY) return _impl->decodeList(value, key, *this);
    const std::uint64_t uid = _impl->uidOf(value, key);
    if (uid == 0) return std::nullopt;
    plist_t object = _impl->objects[uid];
    if (plist_get_node_type(object) == PLIST_ARRAY) {
        _impl->countReference();
        return _impl->decodeList(object, key, *this);
    }
    if (_impl->classNameOf(object) != KeyedArchiver::kArrayClass) return std::nullopt;
    _impl->countReference();
    plist_t list = plist_dict_get_item(object, "objects");
    if (!list || plist_get_node_type(list) != PLIST_ARRAY)
        damaged("the array under " + quoted(key) + " has no list of objects");
    return _impl->decodeList(list, key, *this);
}

namespace {

// A number under key as double and, for integers, as exact int64.
struct Number {
    bool isInteger = false;
    std::int64_t integer = 0;
    double real = 0;
};

Number numberOf(plist_t value, std::string_view key) {
    Number n;
    switch (plist_get_node_type(value)) {
    case PLIST_UINT: {
        std::uint64_t u = 0;
        plist_get_uint_val(value, &u);
        n.isInteger = true;
        n.integer = std::int64_t(u);
        n.real = double(n.integer);
        return n;
    }
    case PLIST_REAL:
        plist_get_real_val(value, &n.real);
        return n;
    case PLIST_BOOLEAN: {
        std::uint8_t b = 0;
        plist_get_bool_val(value, &b);
        n.isInteger = true;
        n.integer = b ? 1 : 0;
        n.real = double(n.integer);
        return n;
    }
    default:
        damaged(quoted(key) + " should be a number");
    }
}

} // namespace

bool KeyedUnarchiver::decodeBool(std::string_view key) {
    plist_t value = _impl->lookup(key);
    if (!value) return false;
    const Number n = numberOf(value, key);
    return n.isInteger ? n.integer != 0 : n.real != 0;
}

std::int64_t KeyedUnarchiver::decodeInt(std::string_view key) {
    plist_t value = _impl->lookup(key);
    if (!value) return 0;
    const Number n = numberOf(value, key);
    if (n.isInteger) return n.integer;
    // 2^63 is the first double outside the int64 range.
    if (!(std::fabs(n.real) < 9223372036854775808.0))
        damaged(quoted(key) + " is too large for an integer");
    return std::int64_t(n.real);
}

float KeyedUnarchiver::decodeFloat(std::string_view key) {
    return float(decodeDouble(key));
}

double KeyedUnarchiver::decodeDouble(std::string_view key) {
    plist_t value = _impl->lookup(key);
    return value ? numberOf(value, key).real : 0.0;
}

std::optional<std::string> KeyedUnarchiver::decodeString(std::string_view key) {
    plist_t value = _impl->lookup(key);
    if (!value) return std::nullopt;
    if (plist_get_node_type(value) != PLIST_STRING) {
        const std::uint64_t uid = _impl->uidOf(value, key);
        if (uid == 0) return std::nullopt;
        _impl->countReference();
        value = _impl->objects[uid];
        if (plist_get_node_type(value) != PLIST_STRING) damaged(quoted(key) + " is not a string");
    }
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(value, &length);
    return std::string(text, std::size_t(length));
}

std::optional<QByteArray> KeyedUnarchiver::decodeData(std::string_view key) {
    plist_t value = _impl->lookup(key);
    if (!value) return std::nullopt;
    if (plist_get_node_type(value) != PLIST_DATA) {
        const std::uint64_t uid = _impl->uidOf(value, key);
        if (uid == 0) return std::nullopt;
        _impl->countReference();
        value = _impl->objects[uid];
        if (plist_get_node_type(value) != PLIST_DATA) damaged(quoted(key) + " is not data");
    }
    std::uint64_t length = 0;
    const char* bytes = plist_get_data_ptr(value, &length);
    return QByteArray(bytes, qsizetype(length));
}

namespace {

// The data under name inside a value record, checked for its size.
const char* blobOf(plist_t record, const char* name, std::uint64_t* size, const char* what) {
    plist_t blob = plist_dict_get_item(record, name);
    if (!blob || plist_get_node_type(blob) != PLIST_DATA)
        damaged(std::string(what) + " is incomplete");
    return plist_get_data_ptr(blob, size);
}

std::uint64_t uintOf(plist_t record, const char* name, std::uint64_t fallback, const char* what) {
    plist_t v = plist_dict_get_item(record, name);
    if (!v) return fallback;
    if (plist_get_node_type(v) != PLIST_UINT) damaged(std::string(what) + " is malformed");
    std::uint64_t u = 0;
    plist_get_uint_val(v, &u);
    return u;
}

} // namespace

std::optional<Color> KeyedUnarchiver::decodeColor(std::string_view key) {
    plist_t record = _impl->valueRecord(key, KeyedArchiver::kColorClass, "a colour");
    if (!record) return std::nullopt;
    const std::uint64_t space = uintOf(record, "space", 0, "a colour");
    std::uint64_t size = 0;
    const char* rgba = blobOf(record, "rgba", &size, "a colour");
    if (space > 1 || size != 16) damaged("a colour is malformed");
    const float r = readFloat(rgba), g = readFloat(rgba + 4), b = readFloat(rgba + 8),
                a = readFloat(rgba + 12);
    return space == 1 ? Color::device(r, g, b, a) : Color::calibrated(r, g, b, a);
}

std::unique_ptr<BezierPath> KeyedUnarchiver::decodeBezierPath(std::string_view key) {
    plist_t record = _impl->valueRecord(key, KeyedArchiver::kBezierPathClass, "a path");
    if (!record) return nullptr;
    std::uint64_t size = 0;
    const char* p = blobOf(record, "elements", &size, "a path");
    const char* end = p + size;
    auto path = std::make_unique<BezierPath>();
    while (p < end) {
        const auto type = std::uint8_t(*p++);
        const int n = pointsForElementType(type);
        if (n < 0) damaged("a path holds an element of unknown type");
        if (std::uint64_t(end - p) < std::uint64_t(n) * 8) damaged("a path ends in mid-element");
        Point pts[3];
        for (int i = 0; i < n; ++i, p += 8) pts[i] = {readFloat(p), readFloat(p + 4)};
        switch (type) {
        case MoveToElement:
            path->moveToPoint(pts[0]);
            break;
        case LineToElement:
            path->lineToPoint(pts[0]);
            break;
        case CurveToElement:
            path->curveToPoint(pts[2], pts[0], pts[1]);
            break;
        default:
            path->closePath();
            break;
        }
    }
    plist_t width = plist_dict_get_item(record, "line_width");
    if (width) path->setLineWidth(float(numberOf(width, "line_width").real));
    const std::uint64_t join = uintOf(record, "line_join", 0, "a path");
    const std::uint64_t winding = uintOf(record, "winding_rule", 0, "a path");
    if (join > 2 || winding > 1) damaged("a path has an unknown line join or winding rule");
    path->setLineJoinStyle(BezierPath::LineJoin(join));
    path->setWindingRule(WindingRule(winding));
    return path;
}

std::unique_ptr<AffineTransform> KeyedUnarchiver::decodeAffineTransform(std::string_view key) {
    plist_t record = _impl->valueRecord(key, KeyedArchiver::kAffineTransformClass, "a transform");
    if (!record) return nullptr;
    std::uint64_t size = 0;
    const char* m = blobOf(record, "matrix", &size, "a transform");
    if (size != 24) damaged("a transform is malformed");
    return std::make_unique<AffineTransform>(AffineMatrix{readFloat(m), readFloat(m + 4),
                                                          readFloat(m + 8), readFloat(m + 12),
                                                          readFloat(m + 16), readFloat(m + 20)});
}

std::optional<QImage> KeyedUnarchiver::decodeImage(std::string_view key) {
    plist_t record = _impl->valueRecord(key, KeyedArchiver::kImageClass, "an image");
    if (!record) return std::nullopt;
    std::uint64_t size = 0;
    const char* png = blobOf(record, "png", &size, "an image");
    QByteArray bytes = QByteArray::fromRawData(png, qsizetype(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "PNG");
    const QSize dimensions = reader.size();
    if (!dimensions.isValid() ||
        std::int64_t(dimensions.width()) * dimensions.height() > kMaxImagePixels)
        damaged("an image in it cannot be read");
    QImage image = reader.read();
    if (image.isNull()) damaged("an image in it cannot be read");
    return image;
}

SequentialReader& KeyedUnarchiver::sequentialValues() {
    return _impl->reader;
}

std::shared_ptr<Codable> KeyedUnarchiver::unarchiveObjectWithData(const QByteArray& data) {
    KeyedUnarchiver unarchiver(data);
    return unarchiver.decodeObject("root");
}

void KeyedUnarchiver::registerClass(const std::string& className, Factory factory) {
    VIMO_ASSERT(!isValueClass(className));
    registry()[className] = std::move(factory);
}

void KeyedUnarchiver::throwWrongClass(std::string_view key) const {
    damaged(quoted(key) + " holds an object of the wrong class");
}
