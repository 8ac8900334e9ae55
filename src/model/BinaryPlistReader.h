#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// A read-only view of a binary property list ("bplist00") held in memory.
// Nothing is copied or built up front: objects are decoded from the bytes
// when asked for, by their index in the offset table, so reading costs no
// allocation per value and a hostile file cannot make it build a huge tree.
// Every access checks the extent of what it reads against the object area
// and throws ArchiveError ("the file is damaged: ...") when it does not fit.
class BinaryPlistReader {
public:
    enum class Kind : std::uint8_t {
        Boolean,
        Integer,
        Real,
        Date,
        Data,
        AsciiString,
        Utf16String,
        Uid,
        Array,
        Dictionary,
    };

    // One decoded object marker: its kind, its size and where its payload is.
    struct Object {
        Kind kind = Kind::Boolean;
        // Bytes of data or ASCII text, UTF-16 code units, entries of an
        // array or dictionary, bytes of an integer, real or UID.
        std::uint64_t count = 0;
        const unsigned char* bytes = nullptr; // payload (references for containers)
        bool boolean = false;

        bool isString() const { return kind == Kind::AsciiString || kind == Kind::Utf16String; }
    };

    // Checks the header and trailer. Throws ArchiveError: "not a Vimo file"
    // without the property-list header, damaged for a broken trailer.
    BinaryPlistReader(const char* data, std::size_t size);

    std::size_t size() const { return _size; }
    std::uint64_t objectCount() const { return _numObjects; }
    std::uint64_t rootIndex() const { return _root; }

    // The object at index (below objectCount()).
    Object object(std::uint64_t index) const;
    // The i-th reference of an array, or of a dictionary (keys first, then
    // values), checked to be below objectCount().
    std::uint64_t reference(const Object& container, std::uint64_t i) const;
    // The index of the value under key (ASCII) in a dictionary, if present
    // (nothing for other objects); keys that are not strings throw.
    std::optional<std::uint64_t> find(const Object& dictionary, std::string_view key) const;

    // Values of leaf objects; callers check the kind first.
    static std::uint64_t unsignedValue(const Object& integerOrUid);
    static double realValue(const Object& real);
    static std::string stringValue(const Object& string); // UTF-8
    static bool stringEquals(const Object& string, std::string_view text);

private:
    std::uint64_t readCount(unsigned low, std::size_t& pos) const;

    const unsigned char* _d;
    std::size_t _size;
    unsigned _offsetSize = 0;
    unsigned _refSize = 0;
    std::uint64_t _numObjects = 0;
    std::uint64_t _root = 0;
    std::uint64_t _offsetTable = 0;
};
