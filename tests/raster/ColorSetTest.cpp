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

ColorSet boxOf(Words& colours) {
    ColorSet box{colours.data(), 0, std::int32_t(colours.size())};
    box.compute_min_max();
    return box;
}

} // namespace

// The score counts the ranges of red, green and blue, not alpha. The median
// cursors meet from both ends, ties moving the high one down.
TEST(ColorSet, MinMaxScoreAndMedian) {
    Words c = {0x10203040u, 0xF0102050u, 0x20302010u};
    const ColorSet box = boxOf(c);
    EXPECT_EQ(box.min, 0x10102010u);
    EXPECT_EQ(box.max, 0xF0303050u);
    EXPECT_EQ(box.score(), 3.0f * (0x40 + 0x10 + 0x20));
    // Green (channel 0) three at 10, one at 200; blue all zero.
    Words g = {0x00000A00u, 0x00000A00u, 0x00000A00u, 0x0000C800u};
    EXPECT_EQ(boxOf(g).median(0), 10);
    EXPECT_EQ(boxOf(g).median(1), 0);
    // Alpha (channel 2): one at 0, one at 255; then a heavier high end.
    Words a = {0x00000000u, 0xFF000000u};
    EXPECT_EQ(boxOf(a).median(2), 0);
    Words h = {0x00000000u, 0xFF000000u, 0xFF000000u, 0x80000000u};
    EXPECT_EQ(boxOf(h).median(2), 128);
}

TEST(MedianCut, SmallCases) {
    // One colour asked: the rounded average of everything.
    EXPECT_EQ(quantize({0xFF000000u, 0xFF0000FFu, 0xFF0000FEu}, 1), (Words{0xFF0000A9u}));
    // One colour in the image: one entry whatever is asked.
    EXPECT_EQ(quantize(Words(50, 0x80402010u), 16), (Words{0x80402010u}));
    // Red has by far the widest range but is never split on; alpha is.
    EXPECT_EQ(quantize({0x100000FFu, 0x80000000u, 0x10000000u, 0x90000000u}, 2),
              (Words{0x1000007Fu, 0x88000000u}));
    // Two pixels, two colours, in heap order.
    EXPECT_EQ(quantize({0xFF0000FFu, 0xFFFF0000u}, 2), (Words{0xFF0000FFu, 0xFFFF0000u}));
    // Asking for more than can be split: the box that scored 0 is popped to
    // the end of the heap array and stays in the output.
    EXPECT_EQ(quantize({0xFF0000FFu, 0xFFFF0000u}, 3), (Words{0xFFFF0000u, 0xFF0000FFu}));
    // No pixels, or nothing asked.
    EXPECT_EQ(quantize({}, 4), (Words{0u}));
    EXPECT_EQ(quantize({0xFF0000FFu, 0xFFFF0000u}, 0).size(), 1u);
}

// Green has range 0, so every split gives everything and nothing: one entry
// is the average of all, (6630 + 0.5) / 52 rounded down, the rest are empty.
TEST(MedianCut, ColoursDifferingOnlyInRedSplitIntoEmptyHalves) {
    Words pixels;
    for (std::uint32_t r = 0; r < 256; r += 5) pixels.push_back(0xFF000000u | r);
    Words palette = quantize(pixels, 5);
    std::sort(palette.begin(), palette.end());
    EXPECT_EQ(palette, (Words{0, 0, 0, 0, 0xFF00007Fu}));
}

TEST(MedianCut, LeavesTheBitmapAlone) {
    Bitmap bm(Size{64, 48});
    std::mt19937 rng(3);
    for (int i = 0; i < 64 * 48; ++i) bm.pixels()[i] = std::uint32_t(rng());
    const Words before(bm.pixels(), bm.pixels() + 64 * 48);
    bm.medianCutColors(16);
    EXPECT_TRUE(std::equal(before.begin(), before.end(), bm.pixels()));
    EXPECT_EQ(quantize(before, 16).size(), 16u); // as many colours as asked
}
