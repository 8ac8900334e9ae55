#pragma once

#include "model/Codable.h"
#include "raster/Color.h"

#include <QByteArray>
#include <QImage>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class AffineTransform;
class BezierPath;
class SequentialWriter;

// Writes an object graph as a keyed archive: a binary property list with
// "$archiver", "$top", "$objects" and "$version", objects referenced by UID
// and each object's record naming its class. docs/file-format.md documents
// every class, key and type.
//
// Use: make an archiver, encode the top-level keys, then finishEncoding()
// for the bytes. Inside encodeWithCoder() the same calls write the keys of
// the object being encoded.
class KeyedArchiver {
public:
    KeyedArchiver();
    ~KeyedArchiver();
    KeyedArchiver(const KeyedArchiver&) = delete;
    KeyedArchiver& operator=(const KeyedArchiver&) = delete;

    // Objects; a null pointer encodes the null object.
    void encodeObject(const Codable* object, std::string_view key);
    void encodeObjectArray(std::span<const Codable* const> objects, std::string_view key);

    // Scalars.
    void encodeBool(bool value, std::string_view key);
    void encodeInt(std::int64_t value, std::string_view key);
    void encodeFloat(float value, std::string_view key);
    void encodeDouble(double value, std::string_view key);

    // Value classes (each an object of its own class in the archive).
    void encodeString(const std::string& value, std::string_view key);
    void encodeData(const QByteArray& value, std::string_view key);
    void encodeColor(const std::optional<Color>& value, std::string_view key);
    void encodeBezierPath(const BezierPath* value, std::string_view key);
    void encodeAffineTransform(const AffineTransform* value, std::string_view key);
    // Stored as PNG data; a null image encodes the null object.
    void encodeImage(const QImage* value, std::string_view key);

    // Unkeyed typed values of the object being encoded, in order (the pen
    // points' compact sample list). Type letters: C uint8, s int16, i int32,
    // f float32. Values are appended to the object's one value block.
    SequentialWriter& sequentialValues();

    // The finished binary property list.
    QByteArray finishEncoding();

    // Archives a single root object under "root".
    static QByteArray archivedDataWithRootObject(const Codable& root);

    // The archive's identification and the class names of the value classes.
    static constexpr const char* kArchiverName = "VimoKeyedArchiver";
    static constexpr std::uint64_t kVersion = 100000;
    static constexpr const char* kColorClass = "VimoColor";
    static constexpr const char* kBezierPathClass = "VimoBezierPath";
    static constexpr const char* kAffineTransformClass = "VimoAffineTransform";
    static constexpr const char* kImageClass = "VimoImage";
    static constexpr const char* kArrayClass = "VimoArray";
    // The key of an object's unkeyed value block.
    static constexpr const char* kValuesKey = "$values";

private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

// Appends unkeyed values to the current object's value block.
class SequentialWriter {
public:
    virtual ~SequentialWriter() = default;
    virtual void writeUInt8(std::uint8_t v) = 0;
    virtual void writeInt16(std::int16_t v) = 0;
    virtual void writeInt32(std::int32_t v) = 0;
    virtual void writeFloat(float v) = 0;
};
