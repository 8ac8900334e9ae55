#include "model/KeyedUnarchiver.h"

#include "model/AffineTransform.h"
#include "model/ArchiveBytes.h"
#include "model/ArchiveClasses.h"
#include "model/BezierPath.h"
#include "model/BinaryPlistReader.h"
#include "model/PlistGuard.h"
#include "raster/Assert.h"

#include <QBuffer>
#include <QImageReader>

#include <cmath>
#include <mutex>
#include <unordered_map>

using namespace archive_bytes;
using Kind = BinaryPlistReader::Kind;
using PlistObject = BinaryPlistReader::Object;

namespace {

// Objects nest this deep at most (a document holds its stroke list, which
// holds strokes, which hold pen points: a handful of levels).
constexpr std::size_t kMaxObjectDepth = 256;
// Largest image an archive may hold, in pixels (256 MiB of RGBA).
constexpr std::int64_t kMaxImagePixels = std::int64_t(64) << 20;

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
    PlistObject dict;
    const char* values = nullptr;
    std::uint64_t valuesSize = 0;
    std::uint64_t position = 0;
};

// The value under key in a dictionary of the property list.
std::optional<PlistObject> itemOf(const BinaryPlistReader& plist, const PlistObject& dict,
                                  std::string_view key) {
    const auto index = plist.find(dict, key);
    if (!index) return std::nullopt;
    return plist.object(*index);
}

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
        if (f.valuesSize - f.position < n)
            ArchiveError::damaged("an object's list of values ends too soon");
        const char* p = f.values + f.position;
        f.position += n;
        return p;
    }
    std::vector<Frame>& _frames;
};

} // namespace

struct KeyedUnarchiver::Impl {
    enum class State : std::uint8_t { NotRead, Reading, Read };

    // Holds on to the bytes (shared, not copied): values are read in place.
    explicit Impl(const QByteArray& data)
        : bytes(data), plist(bytes.constData(), std::size_t(bytes.size())) {}

    const QByteArray bytes;
    BinaryPlistReader plist;
    // The property-list index of each entry of "$objects".
    std::vector<std::uint64_t> objects;
    std::vector<State> states;
    std::vector<std::shared_ptr<Codable>> decoded;
    // Class names by the index of their class record.
    std::unordered_map<std::uint64_t, std::string> classNames;
    std::vector<Frame> frames;
    BlockReader reader{frames};
    std::uint64_t references = 0;
    std::uint64_t referenceLimit = 0;

    PlistObject object(std::uint64_t uid) const { return plist.object(objects[uid]); }

    Frame frameFor(const PlistObject& dict) const {
        Frame f{dict};
        if (auto values = plist.find(dict, KeyedArchiver::kValuesKey)) {
            const PlistObject blob = plist.object(*values);
            if (blob.kind != Kind::Data)
                ArchiveError::damaged("an object's list of values is not data");
            f.values = reinterpret_cast<const char*>(blob.bytes);
            f.valuesSize = blob.count;
        }
        return f;
    }

    std::optional<PlistObject> item(const PlistObject& dict, std::string_view key) const {
        return itemOf(plist, dict, key);
    }

    std::optional<PlistObject> lookup(std::string_view key) const {
        return item(frames.back().dict, key);
    }

    std::uint64_t uidOf(const PlistObject& value, std::string_view key) const {
        if (value.kind != Kind::Uid)
            ArchiveError::damaged(quoted(key) +
                                  " should refer to an object but holds a plain value");
        const std::uint64_t uid = BinaryPlistReader::unsignedValue(value);
        if (uid >= objects.size())
            ArchiveError::damaged(quoted(key) + " refers to a missing object");
        return uid;
    }

    void countReference() {
        if (++references > referenceLimit)
            ArchiveError::damaged("its objects refer to each other too often");
    }

    // The class name of an object record, or empty when the object is a
    // plain property-list value (string, data, array).
    const std::string& classNameOf(const PlistObject& object) {
        static const std::string none;
        if (object.kind != Kind::Dictionary) return none;
        const auto classRef = item(object, "$class");
        if (!classRef) ArchiveError::damaged("an object does not name its class");
        const std::uint64_t uid =
            classRef->kind == Kind::Uid ? BinaryPlistReader::unsignedValue(*classRef) : 0;
        if (uid == 0 || uid >= objects.size())
            ArchiveError::damaged("an object's class is missing");
        auto known = classNames.find(uid);
        if (known != classNames.end()) return known->second;
        const PlistObject record = this->object(uid);
        const auto name =
            record.kind == Kind::Dictionary ? item(record, "$classname") : std::nullopt;
        if (!name || !name->isString()) ArchiveError::damaged("an object's class has no name");
        return classNames.emplace(uid, BinaryPlistReader::stringValue(*name)).first->second;
    }

    // The record of a value class under key, or nothing for a missing key
    // or the null object.
    std::optional<PlistObject> valueRecord(std::string_view key, const char* className,
                                           const char* what) {
        const auto value = lookup(key);
        if (!value) return std::nullopt;
        const std::uint64_t uid = uidOf(*value, key);
        if (uid == 0) return std::nullopt;
        countReference();
        const PlistObject record = object(uid);
        if (classNameOf(record) != className)
            ArchiveError::damaged(quoted(key) + " is not " + what);
        return record;
    }

    // A plain value under key, stored inline or as a reference to an
    // entry of "$objects"; nothing for a missing key or the null object.
    std::optional<PlistObject> plainValue(std::string_view key) {
        auto value = lookup(key);
        if (!value || value->kind != Kind::Uid) return value;
        const std::uint64_t uid = uidOf(*value, key);
        if (uid == 0) return std::nullopt;
        countReference();
        return object(uid);
    }

    std::shared_ptr<Codable> decodeAt(std::uint64_t uid, std::string_view key,
                                      KeyedUnarchiver& owner) {
        if (uid == 0) return nullptr;
        countReference();
        switch (states[uid]) {
        case State::Read:
            return decoded[uid];
        case State::Reading:
            ArchiveError::damaged("an object contains itself");
        case State::NotRead:
            break;
        }
        const PlistObject record = object(uid);
        const std::string& className = classNameOf(record);
        if (className.empty() || isValueClass(className))
            ArchiveError::damaged(quoted(key) +
                                  " holds a plain value where an object was expected");
        auto factory = registry().find(className);
        if (factory == registry().end())
            ArchiveError::damaged("it holds an object of unknown class \"" + className + "\"");
        if (frames.size() > kMaxObjectDepth)
            ArchiveError::damaged("its objects are nested too deeply");

        frames.push_back(frameFor(record));
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
    std::vector<std::shared_ptr<Codable>> decodeList(const PlistObject& list, std::string_view key,
                                                     KeyedUnarchiver& owner) {
        std::vector<std::shared_ptr<Codable>> result;
        result.reserve(std::size_t(list.count));
        for (std::uint64_t i = 0; i < list.count; ++i)
            result.push_back(
                decodeAt(uidOf(plist.object(plist.reference(list, i)), key), key, owner));
        return result;
    }
};

KeyedUnarchiver::KeyedUnarchiver(const QByteArray& data) : _impl(std::make_unique<Impl>(data)) {
    static std::once_flag registered;
    std::call_once(registered, registerModelArchiveClasses);

    Impl& impl = *_impl;
    PlistGuard::check(impl.plist);
    const PlistObject root = impl.plist.object(impl.plist.rootIndex());
    auto item = [&](const char* key, Kind kind) -> std::optional<PlistObject> {
        if (root.kind != Kind::Dictionary) return std::nullopt;
        auto v = impl.item(root, key);
        return v && v->kind == kind ? v : std::nullopt;
    };
    const auto archiver =
        root.kind == Kind::Dictionary ? impl.item(root, "$archiver") : std::nullopt;
    if (!archiver || !archiver->isString() ||
        !BinaryPlistReader::stringEquals(*archiver, KeyedArchiver::kArchiverName))
        throw ArchiveError("not a Vimo file");
    const auto top = item("$top", Kind::Dictionary);
    const auto objects = item("$objects", Kind::Array);
    if (!top || !objects || !item("$version", Kind::Integer))
        ArchiveError::damaged("its archive lacks its table of objects");

    impl.objects.reserve(std::size_t(objects->count));
    for (std::uint64_t i = 0; i < objects->count; ++i)
        impl.objects.push_back(impl.plist.reference(*objects, i));
    if (impl.objects.empty() || !impl.object(0).isString() ||
        !BinaryPlistReader::stringEquals(impl.object(0), "$null"))
        ArchiveError::damaged("its table of objects does not start with the null object");
    impl.states.assign(impl.objects.size(), Impl::State::NotRead);
    impl.decoded.resize(impl.objects.size());
    impl.referenceLimit = 16 * std::uint64_t(impl.objects.size()) + 65536;
    impl.frames.push_back(impl.frameFor(*top));
}

KeyedUnarchiver::~KeyedUnarchiver() = default;

bool KeyedUnarchiver::containsValueForKey(std::string_view key) const {
    return _impl->plist.find(_impl->frames.back().dict, key).has_value();
}

std::shared_ptr<Codable> KeyedUnarchiver::decodeObject(std::string_view key) {
    const auto value = _impl->lookup(key);
    if (!value) return nullptr;
    return _impl->decodeAt(_impl->uidOf(*value, key), key, *this);
}

std::optional<std::vector<std::shared_ptr<Codable>>>
KeyedUnarchiver::decodeObjectArray(std::string_view key) {
    const auto value = _impl->lookup(key);
    if (!value) return std::nullopt;
    if (value->kind == Kind::Array) return _impl->decodeList(*value, key, *this);
    const std::uint64_t uid = _impl->uidOf(*value, key);
    if (uid == 0) return std::nullopt;
    const PlistObject object = _impl->object(uid);
    if (object.kind == Kind::Array) {
        _impl->countReference();
        return _impl->decodeList(object, key, *this);
    }
    if (_impl->classNameOf(object) != KeyedArchiver::kArrayClass) return std::nullopt;
    _impl->countReference();
    const auto list = _impl->item(object, "objects");
    if (!list || list->kind != Kind::Array)
        ArchiveError::damaged("the array under " + quoted(key) + " has no list of objects");
    return _impl->decodeList(*list, key, *this);
}

namespace {

// A number under key as double and, for integers, as exact int64.
struct Number {
    bool isInteger = false;
    std::int64_t integer = 0;
    double real = 0;
};

Number numberOf(const PlistObject& value, std::string_view key) {
    Number n;
    switch (value.kind) {
    case Kind::Integer:
        n.isInteger = true;
        n.integer = std::int64_t(BinaryPlistReader::unsignedValue(value));
        n.real = double(n.integer);
        return n;
    case Kind::Real:
        n.real = BinaryPlistReader::realValue(value);
        return n;
    case Kind::Boolean:
        n.isInteger = true;
        n.integer = value.boolean ? 1 : 0;
        n.real = double(n.integer);
        return n;
    default:
        ArchiveError::damaged(quoted(key) + " should be a number");
    }
}

} // namespace

bool KeyedUnarchiver::decodeBool(std::string_view key) {
    const auto value = _impl->lookup(key);
    if (!value) return false;
    const Number n = numberOf(*value, key);
    return n.isInteger ? n.integer != 0 : n.real != 0;
}

std::int64_t KeyedUnarchiver::decodeInt(std::string_view key) {
    const auto value = _impl->lookup(key);
    if (!value) return 0;
    const Number n = numberOf(*value, key);
    if (n.isInteger) return n.integer;
    // 2^63 is the first double outside the int64 range.
    if (!(std::fabs(n.real) < 9223372036854775808.0))
        ArchiveError::damaged(quoted(key) + " is too large for an integer");
    return std::int64_t(n.real);
}

float KeyedUnarchiver::decodeFloat(std::string_view key) {
    return float(decodeDouble(key));
}

double KeyedUnarchiver::decodeDouble(std::string_view key) {
    const auto value = _impl->lookup(key);
    return value ? numberOf(*value, key).real : 0.0;
}

std::optional<std::string> KeyedUnarchiver::decodeString(std::string_view key) {
    const auto value = _impl->plainValue(key);
    if (!value) return std::nullopt;
    if (!value->isString()) ArchiveError::damaged(quoted(key) + " is not a string");
    return BinaryPlistReader::stringValue(*value);
}

std::optional<QByteArray> KeyedUnarchiver::decodeData(std::string_view key) {
    const auto value = _impl->plainValue(key);
    if (!value) return std::nullopt;
    if (value->kind != Kind::Data) ArchiveError::damaged(quoted(key) + " is not data");
    return QByteArray(reinterpret_cast<const char*>(value->bytes), qsizetype(value->count));
}

namespace {

// The data under name inside a value record, checked for its size.
const char* blobOf(const BinaryPlistReader& plist, const PlistObject& record, const char* name,
                   std::uint64_t* size, const char* what) {
    const auto blob = itemOf(plist, record, name);
    if (!blob || blob->kind != Kind::Data)
        ArchiveError::damaged(std::string(what) + " is incomplete");
    *size = blob->count;
    return reinterpret_cast<const char*>(blob->bytes);
}

std::uint64_t uintOf(const BinaryPlistReader& plist, const PlistObject& record, const char* name,
                     std::uint64_t fallback, const char* what) {
    const auto v = itemOf(plist, record, name);
    if (!v) return fallback;
    if (v->kind != Kind::Integer) ArchiveError::damaged(std::string(what) + " is malformed");
    return BinaryPlistReader::unsignedValue(*v);
}

} // namespace

std::optional<Color> KeyedUnarchiver::decodeColor(std::string_view key) {
    const auto record = _impl->valueRecord(key, KeyedArchiver::kColorClass, "a colour");
    if (!record) return std::nullopt;
    const std::uint64_t space = uintOf(_impl->plist, *record, "space", 0, "a colour");
    std::uint64_t size = 0;
    const char* rgba = blobOf(_impl->plist, *record, "rgba", &size, "a colour");
    if (space > 1 || size != 16) ArchiveError::damaged("a colour is malformed");
    const float r = readFloat(rgba), g = readFloat(rgba + 4), b = readFloat(rgba + 8),
                a = readFloat(rgba + 12);
    return space == 1 ? Color::device(r, g, b, a) : Color::calibrated(r, g, b, a);
}

std::unique_ptr<BezierPath> KeyedUnarchiver::decodeBezierPath(std::string_view key) {
    const auto record = _impl->valueRecord(key, KeyedArchiver::kBezierPathClass, "a path");
    if (!record) return nullptr;
    std::uint64_t size = 0;
    const char* p = blobOf(_impl->plist, *record, "elements", &size, "a path");
    const char* end = p + size;
    auto path = std::make_unique<BezierPath>();
    while (p < end) {
        const auto type = std::uint8_t(*p++);
        const int n = pointsForElementType(type);
        if (n < 0) ArchiveError::damaged("a path holds an element of unknown type");
        if (std::uint64_t(end - p) < std::uint64_t(n) * 8)
            ArchiveError::damaged("a path ends in mid-element");
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
    if (const auto width = _impl->item(*record, "line_width"))
        path->setLineWidth(float(numberOf(*width, "line_width").real));
    const std::uint64_t join = uintOf(_impl->plist, *record, "line_join", 0, "a path");
    const std::uint64_t winding = uintOf(_impl->plist, *record, "winding_rule", 0, "a path");
    if (join > 2 || winding > 1)
        ArchiveError::damaged("a path has an unknown line join or winding rule");
    path->setLineJoinStyle(BezierPath::LineJoin(join));
    path->setWindingRule(WindingRule(winding));
    return path;
}

std::unique_ptr<AffineTransform> KeyedUnarchiver::decodeAffineTransform(std::string_view key) {
    const auto record =
        _impl->valueRecord(key, KeyedArchiver::kAffineTransformClass, "a transform");
    if (!record) return nullptr;
    std::uint64_t size = 0;
    const char* m = blobOf(_impl->plist, *record, "matrix", &size, "a transform");
    if (size != 24) ArchiveError::damaged("a transform is malformed");
    return std::make_unique<AffineTransform>(AffineMatrix{readFloat(m), readFloat(m + 4),
                                                          readFloat(m + 8), readFloat(m + 12),
                                                          readFloat(m + 16), readFloat(m + 20)});
}

std::optional<QImage> KeyedUnarchiver::decodeImage(std::string_view key) {
    const auto record = _impl->valueRecord(key, KeyedArchiver::kImageClass, "an image");
    if (!record) return std::nullopt;
    std::uint64_t size = 0;
    const char* png = blobOf(_impl->plist, *record, "png", &size, "an image");
    QByteArray bytes = QByteArray::fromRawData(png, qsizetype(size));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "PNG");
    const QSize dimensions = reader.size();
    if (!dimensions.isValid() ||
        std::int64_t(dimensions.width()) * dimensions.height() > kMaxImagePixels)
        ArchiveError::damaged("an image in it cannot be read");
    QImage image = reader.read();
    if (image.isNull()) ArchiveError::damaged("an image in it cannot be read");
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
    ArchiveError::damaged(quoted(key) + " holds an object of the wrong class");
}
