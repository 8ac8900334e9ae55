#pragma once

#include <QByteArray>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
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
    struct Object {
        QByteArray head;       // marker, count and, for scalars, the payload
        std::vector<Ref> refs; // members of a container
    };
    Ref add(Object object);
    Ref shared(QByteArray head);

    std::vector<Object> _objects;
    std::unordered_map<std::string, Ref> _shared;
};
