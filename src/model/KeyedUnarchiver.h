#pragma once

#include "model/ArchiveError.h"
#include "model/Codable.h"
#include "model/KeyedArchiver.h"
#include "raster/Color.h"

#include <QByteArray>
#include <QImage>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class AffineTransform;
class BezierPath;
class SequentialReader;

// Reads a keyed archive written by KeyedArchiver. It never trusts its input:
// sizes, nesting, types, indexes and references are checked, cycles refused,
// and any violation throws ArchiveError with a reason a person understands.
// Missing keys read as nothing (null, zero, false), as writers rely on.
class KeyedUnarchiver {
public:
    // Parses the property list; throws ArchiveError when it is not a keyed
    // archive ("not a Vimo file") or is damaged.
    // Values are read in place: the unarchiver shares data (a copy is only
    // a reference count), so data made with fromRawData must outlive it.
    explicit KeyedUnarchiver(const QByteArray& data);
    ~KeyedUnarchiver();
    KeyedUnarchiver(const KeyedUnarchiver&) = delete;
    KeyedUnarchiver& operator=(const KeyedUnarchiver&) = delete;

    bool containsValueForKey(std::string_view key) const;

    // An object made by the factory registered for its class; nullptr for a
    // missing key or the null object. Throws ArchiveError when the class is
    // unknown or not a T.
    template <class T> std::shared_ptr<T> decodeObjectOfClass(std::string_view key) {
        std::shared_ptr<Codable> object = decodeObject(key);
        if (!object) return nullptr;
        auto typed = std::dynamic_pointer_cast<T>(object);
        if (!typed) throwWrongClass(key);
        return typed;
    }
    std::shared_ptr<Codable> decodeObject(std::string_view key);
    // An array of objects; nullopt when the key is missing or is not an
    // array (callers may then try decodeObject).
    std::optional<std::vector<std::shared_ptr<Codable>>> decodeObjectArray(std::string_view key);

    bool decodeBool(std::string_view key);
    std::int64_t decodeInt(std::string_view key);
    float decodeFloat(std::string_view key);
    double decodeDouble(std::string_view key);

    std::optional<std::string> decodeString(std::string_view key);
    std::optional<QByteArray> decodeData(std::string_view key);
    std::optional<Color> decodeColor(std::string_view key);
    std::unique_ptr<BezierPath> decodeBezierPath(std::string_view key);
    std::unique_ptr<AffineTransform> decodeAffineTransform(std::string_view key);
    std::optional<QImage> decodeImage(std::string_view key);

    // The unkeyed values of the object being decoded; reading past the end
    // throws ArchiveError.
    SequentialReader& sequentialValues();

    // Reads the root object written by archivedDataWithRootObject.
    static std::shared_ptr<Codable> unarchiveObjectWithData(const QByteArray& data);

    // Class factories: each reads an object of its class from the coder
    // positioned on that object's record.
    using Factory = std::function<std::shared_ptr<Codable>(KeyedUnarchiver&)>;
    static void registerClass(const std::string& className, Factory factory);

private:
    [[noreturn]] void throwWrongClass(std::string_view key) const;
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

class SequentialReader {
public:
    virtual ~SequentialReader() = default;
    virtual std::uint8_t readUInt8() = 0;
    virtual std::int16_t readInt16() = 0;
    virtual std::int32_t readInt32() = 0;
    virtual float readFloat() = 0;
    // Bytes left in the object's values.
    virtual std::uint64_t remaining() const = 0;
};

// A deep copy made by archiving and unarchiving.
template <class T> std::shared_ptr<T> copyWithArchiver(const T& object) {
    return std::dynamic_pointer_cast<T>(KeyedUnarchiver::unarchiveObjectWithData(
        KeyedArchiver::archivedDataWithRootObject(object)));
}
