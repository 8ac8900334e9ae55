#pragma once

#include <cstddef>
#include <cstdint>

// Checks a binary property list ("bplist00") before libplist parses it.
// libplist builds its tree recursively and copies an object for every
// reference to it, so a hostile file could overflow the stack with deep
// nesting or exhaust memory with shared or cyclic containers. This walk uses
// an explicit stack and checks the header, trailer, offset table, every
// object's type and extent, every reference, the nesting depth, that no
// container is reached twice, and the size of the tree libplist would build.
// Throws ArchiveError with a reason a person understands.
class PlistGuard {
public:
    struct Limits {
        std::size_t maxDepth = 512;
        std::uint64_t maxNodes = 8'000'000;
        // Bytes of strings and data after expanding shared leaves.
        std::uint64_t maxLeafBytes = std::uint64_t(1) << 30;
        std::uint64_t maxLeafExpansion = 64; // times the input size, plus 16 MiB
    };

    static void check(const char* data, std::size_t size) { check(data, size, Limits()); }
    static void check(const char* data, std::size_t size, const Limits& limits);
};
