#pragma once

class BinaryPlistReader;

// Checks a whole binary property list ("bplist00") before it is read: every
// object reachable from the root has a known type and fits in the file,
// every reference points at an object, dictionary keys are strings, nothing
// nests too deeply, no container is reached twice (no cycles, no
// shared lists that a tree-building reader would copy without bound), and
// the values, counted as a tree, stay within the limits below.
// Property-list tools build such a tree, so a file that passes is safe for
// them too. Throws ArchiveError with a reason a person understands.
class PlistGuard {
public:
    // Depth at most 512; at most 8 million values; strings and data at most
    // 64 times the file size plus 16 MiB, and never over 1 GiB.
    static void check(const BinaryPlistReader& plist);
};
