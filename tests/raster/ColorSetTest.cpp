#include "raster/ColorSet.h"
#include "raster/Bitmap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using Words = std::vector<std::uint32_t>;

Words quantize(const Words& pixels, int wanted) {
    Words palette;
    median_cut(pixels.data(), std::uint32_t(pixels.size()), wanted, palette);
    return palette;
}

} // namespace

TEST(MedianCut, SmallCasesAndTheBitmapIsLeftAlone) {
    // One colour asked: the rounded average of everything.
    EXPECT_EQ(quantize({0xFF000000u, 0xFF0000FFu, 0xFF0000FEu}, 1), (Words{0xFF0000A9u}));
    EXPECT_EQ(quantize(Words(50, 0x80402010u), 16), (Words{0x80402010u}));
    // Red has by far the widest range but is never split on; alpha is.
    EXPECT_EQ(quantize({0x100000FFu, 0x80000000u, 0x10000000u, 0x90000000u}, 2),
              (Words{0x1000007Fu, 0x88000000u}));
    // More than can be split: the box that scored 0 is popped to the end of
    // the heap array and stays in the output.
    EXPECT_EQ(quantize({0xFF0000FFu, 0xFFFF0000u}, 3), (Words{0xFFFF0000u, 0xFF0000FFu}));
    EXPECT_EQ(quantize({}, 4), (Words{0u}));
    EXPECT_EQ(quantize({0xFF0000FFu, 0xFFFF0000u}, 0).size(), 1u);

    Bitmap bm(Size{64, 48});
    std::mt19937 rng(3);
    for (int i = 0; i < 64 * 48; ++i) bm.pixels()[i] = std::uint32_t(rng());
    const Words before(bm.pixels(), bm.pixels() + 64 * 48);
    bm.medianCutColors(16);
    EXPECT_TRUE(std::equal(before.begin(), before.end(), bm.pixels()));
    EXPECT_EQ(quantize(before, 16).size(), 16u);
}
