#pragma once

#include <cstddef>
#include <cstdint>

class BinaryPlistReader;

// Checks a whole binary property list ("bplist00") before it is read: every
// object reachable from the root has a known type and fits in the file,
// every reference points at an object, dictionary keys are strings, nothing
// nests deeper than maxDepth, no container is reached twice (no cycles, no
// shared lists that a tree-building reader would copy without bound), and
// the values, counted as a tree, stay within maxNodes and the leaf limits.
// Property-list tools build such a tree, so a file that passes is safe for
// them too. Throws ArchiveError with a reason a person understands.
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
    static void check(const BinaryPlistReader& plist, std::size_t size, const Limits& limits);
};
