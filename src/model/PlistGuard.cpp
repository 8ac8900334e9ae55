#include "model/PlistGuard.h"

#include "model/ArchiveError.h"
#include "model/BinaryPlistReader.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using Kind = BinaryPlistReader::Kind;

constexpr std::size_t kMaxDepth = 512;
constexpr std::uint64_t kMaxNodes = 8'000'000;
// Bytes of strings and data after expanding shared leaves.
constexpr std::uint64_t kMaxLeafBytes = std::uint64_t(1) << 30;
constexpr std::uint64_t kMaxLeafExpansion = 64; // times the input size, plus 16 MiB

} // namespace

void PlistGuard::check(const BinaryPlistReader& plist) {
    const std::uint64_t leafLimit =
        std::min(kMaxLeafBytes, std::uint64_t(plist.size()) * kMaxLeafExpansion + (16u << 20));
    std::vector<bool> seen(std::size_t(plist.objectCount()), false);
    struct Entry {
        std::uint64_t index;
        std::size_t depth;
    };
    std::vector<Entry> stack{{plist.rootIndex(), 1}};
    std::uint64_t nodes = 0;
    std::uint64_t leafBytes = 0;
    auto countLeaf = [&](const BinaryPlistReader::Object& o) {
        if (++nodes > kMaxNodes) ArchiveError::damaged("it holds too many values");
        if (o.kind == Kind::Data || o.isString()) {
            leafBytes += o.kind == Kind::Utf16String ? 2 * o.count : o.count;
            if (leafBytes > leafLimit) ArchiveError::damaged("it holds too much data");
        }
    };
    while (!stack.empty()) {
        const Entry e = stack.back();
        stack.pop_back();
        const BinaryPlistReader::Object o = plist.object(e.index);
        countLeaf(o);
        if (o.kind != Kind::Array && o.kind != Kind::Dictionary) continue;
        if (seen[std::size_t(e.index)])
            ArchiveError::damaged("a list is contained twice or contains itself");
        seen[std::size_t(e.index)] = true;
        if (e.depth >= kMaxDepth) ArchiveError::damaged("its values are nested too deeply");
        std::uint64_t first = 0;
        if (o.kind == Kind::Dictionary) {
            // Keys must be strings; they are leaves, counted here.
            for (; first < o.count; ++first) {
                const BinaryPlistReader::Object k = plist.object(plist.reference(o, first));
                if (!k.isString()) ArchiveError::damaged("a dictionary key is not a string");
                countLeaf(k);
            }
        }
        for (std::uint64_t i = 0; i < o.count; ++i)
            stack.push_back({plist.reference(o, first + i), e.depth + 1});
    }
}
