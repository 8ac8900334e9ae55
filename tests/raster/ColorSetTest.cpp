#include "raster/ColorSet.h"
#include "raster/Bitmap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

std::vector<std::uint32_t> quantize(const std::vector<std::uint32_t>& pixels, int wanted) {
    std::vector<std::uint32_t> palette;
    median_cut(pixels.data(), std::uint32_t(pixels.size()), wanted, palette);
    return palette;
}

ColorSet boxOf(std::vector<std::uint32_t>& colours) {
    ColorSet box{colours.data(), 0, std::int32_t(colours.size())};
    box.compute_min_max();
    return box;
}

} // namespace

TEST(ColorSet, MinMaxAndScoreCountRedGreenBlueOnly) {
    std::vector<std::uint32_t> c = {0x10203040u, 0xF0102050u, 0x20302010u};
    const ColorSet box = boxOf(c);
    EXPECT_EQ(box.min, 0x10102010u);
    EXPECT_EQ(box.max, 0xF0303050u);
    // 3 * ((0x50-0x10) + (0x30-0x20) + (0x30-0x10)); alpha's range is not counted.
    EXPECT_EQ(box.score(), 3.0f * (0x40 + 0x10 + 0x20));
}

TEST(ColorSet, MedianMeetsFromBothEndsTiesGoDown) {
    // Green values: three at 10, one at 200. The high cursor walks down while
    // the sums tie (0 against 0) and stops with lo + 1 >= hi.
    std::vector<std::uint32_t> c = {0x00000A00u, 0x00000A00u, 0x00000A00u, 0x0000C800u};
    const ColorSet box = boxOf(c);
    EXPECT_EQ(box.median(0), 10);
    // Blue (channel 1) all zero: every tie moves hi, ending at lo = 0.
    EXPECT_EQ(box.median(1), 0);
    // Alpha (channel 2): 1 at 0, 1 at 255 - ties walk hi down to 1.
    std::vector<std::uint32_t> a = {0x00000000u, 0xFF000000u};
    EXPECT_EQ(boxOf(a).median(2), 0);
    // Heavier high end pulls the cursor up.
    std::vector<std::uint32_t> h = {0x00000000u, 0xFF000000u, 0xFF000000u, 0x80000000u};
    EXPECT_EQ(boxOf(h).median(2), 128);
}

TEST(MedianCut, SmallCases) {
    // One colour asked: the rounded average of everything.
    EXPECT_EQ(quantize({0xFF000000u, 0xFF0000FFu, 0xFF0000FEu}, 1),
              (std::vector<std::uint32_t>{0xFF0000A9u}));
    // One colour in the image: one entry whatever is asked.
    EXPECT_EQ(quantize(std::vector<std::uint32_t>(50, 0x80402010u), 16),
              (std::vector<std::uint32_t>{0x80402010u}));
    // Red has by far the widest range but is never split on; alpha is.
    EXPECT_EQ(quantize({0x100000FFu, 0x80000000u, 0x10000000u, 0x90000000u}, 2),
              (std::vector<std::uint32_t>{0x1000007Fu, 0x88000000u}));
    // Two pixels, two colours, in heap order.
    EXPECT_EQ(quantize({0xFF0000FFu, 0xFFFF0000u}, 2),
              (std::vector<std::uint32_t>{0xFF0000FFu, 0xFFFF0000u}));
    // Asking for more than can be split: the box that scored 0 is popped to
    // the end of the heap array and stays in the output.
    EXPECT_EQ(quantize({0xFF0000FFu, 0xFFFF0000u}, 3),
              (std::vector<std::uint32_t>{0xFFFF0000u, 0xFF0000FFu}));
    // No pixels, or nothing asked.
    EXPECT_EQ(quantize({}, 4), (std::vector<std::uint32_t>{0u}));
    EXPECT_EQ(quantize({0xFF0000FFu, 0xFFFF0000u}, 0).size(), 1u);
}

TEST(MedianCut, ColoursDifferingOnlyInRedSplitIntoEmptyHalves) {
    std::vector<std::uint32_t> pixels;
    for (std::uint32_t r = 0; r < 256; r += 5) pixels.push_back(0xFF000000u | r);
    const std::vector<std::uint32_t> palette = quantize(pixels, 5);
    ASSERT_EQ(palette.size(), 5u);
    // Green has range 0, so every split gives everything and nothing: one
    // entry is the average of all, the rest are empty boxes.
    const std::uint32_t average = 0xFF00007Fu; // (6630 + 0.5) / 52 rounds down
    EXPECT_EQ(std::count(palette.begin(), palette.end(), average), 1);
    EXPECT_EQ(std::count(palette.begin(), palette.end(), 0u), 4);
}

TEST(MedianCut, LeavesTheBitmapAlone) {
    Bitmap bm(Size{64, 48});
    std::mt19937 rng(3);
    for (int i = 0; i < 64 * 48; ++i) bm.pixels()[i] = std::uint32_t(rng());
    const std::vector<std::uint32_t> before(bm.pixels(), bm.pixels() + 64 * 48);
    bm.medianCutColors(16);
    EXPECT_TRUE(std::equal(before.begin(), before.end(), bm.pixels()));
    // A varied image gives exactly the asked number of colours.
    const std::vector<std::uint32_t> palette = quantize(before, 16);
    EXPECT_EQ(palette.size(), 16u);
}
