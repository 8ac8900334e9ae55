#pragma once

#include <QByteArray>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

// Writes a binary property list ("bplist00") in one pass over a flat table
// of objects. Scalars and strings are stored once however often they occur;
// containers refer to their members by index, so members are added first.
// It runs in time linear in the number of objects (libplist's own writer
// slows down quadratically on the hundreds of thousands of values of a large
// drawing); the output is the standard format that libplist and other
// property-list tools read.
class BinaryPlistWriter {
public:
    using Ref = std::uint32_t;

    BinaryPlistWriter() = default;
    // The shared-value set refers back to the writer.
    BinaryPlistWriter(const BinaryPlistWriter&) = delete;
    BinaryPlistWriter& operator=(const BinaryPlistWriter&) = delete;

    Ref boolean(bool value);
    Ref integer(std::int64_t value);
    Ref real(double value);
    Ref uid(std::uint64_t value);
    // UTF-8 text; stored as ASCII or UTF-16 as the format requires.
    Ref string(std::string_view utf8);
    Ref data(const char* bytes, std::size_t size);
    Ref array(std::vector<Ref> members);
    Ref dictionary(const std::vector<std::pair<Ref, Ref>>& entries);

    // A container whose members are given later with setArray (for records
    // that must be listed before their contents are known).
    Ref reserve();
    void setArray(Ref ref, std::vector<Ref> members);
    void setDictionary(Ref ref, const std::vector<std::pair<Ref, Ref>>& entries);

    // The finished property list with root as its top object.
    QByteArray finish(Ref root) const;

private:
    // Each object is its head (marker, count and, for scalars, strings and
    // data, the payload) in the byte arena and, for a container, a run of
    // member references in the reference arena: no allocation per object.
    struct Object {
        std::size_t head = 0;
        std::size_t headSize = 0;
        std::size_t refs = 0;
        std::size_t refCount = 0;
    };
    Ref add(const char* head, std::size_t size);
    // A scalar or string stored once: equal heads give the same object.
    Ref shared(const char* head, std::size_t size);
    Ref withCount(unsigned type, std::uint64_t count, const char* payload, std::size_t size,
                  bool share);
    std::string_view headOf(const Object& o) const { return {_bytes.data() + o.head, o.headSize}; }

    // Shared objects are found by the content of their heads.
    struct HeadHash {
        const BinaryPlistWriter* w;
        std::size_t operator()(Ref r) const;
    };
    struct HeadEqual {
        const BinaryPlistWriter* w;
        bool operator()(Ref a, Ref b) const;
    };

    std::vector<Object> _objects;
    std::string _bytes;
    std::vector<Ref> _refs;
    std::unordered_set<Ref, HeadHash, HeadEqual> _shared{1024, HeadHash{this}, HeadEqual{this}};
};
