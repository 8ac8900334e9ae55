#include "raster/TransferModes.h"
#include "raster/Bitmap.h"
#include "raster/ColorNs.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

// Transfers are checked against a slow reference written straight from the
// rules, channel by channel in plain int arithmetic.
namespace {

using u32 = std::uint32_t;

struct Px {
    int r, g, b, a;
};

Px unpack(u32 w) {
    return {int(w & 0xFF), int(w >> 8 & 0xFF), int(w >> 16 & 0xFF), int(w >> 24)};
}
u32 pack(Px p) {
    return u32(p.r & 0xFF) | u32(p.g & 0xFF) << 8 | u32(p.b & 0xFF) << 16 | u32(p.a & 0xFF) << 24;
}

u32 refOver(u32 sw, u32 dw) {
    const Px s = unpack(sw), d = unpack(dw);
    if (s.a == 0) return dw;
    if (s.a == 255 || d.a == 0) return sw;
    const int k = 255 - s.a;
    return pack({(s.r * 255 + d.r * k) / 255, (s.g * 255 + d.g * k) / 255,
                 (s.b * 255 + d.b * k) / 255, (s.a * 255 + d.a * k) / 255});
}

u32 refMultiply(u32 pw, u32 qw) {
    const Px p = unpack(pw), q = unpack(qw);
    if (p.a == 0) return qw;
    if (q.a == 0) return pw;
    const int A = std::max(p.a, q.a);
    const Px lo = p.a <= q.a ? p : q, hi = p.a <= q.a ? q : p;
    const int d = hi.a - lo.a;
    return pack({((lo.r + d) * hi.r * A) / (A * A), ((lo.g + d) * hi.g * A) / (A * A),
                 ((lo.b + d) * hi.b * A) / (A * A), A});
}

// op is the opacity factor, or kPlain for the opacity-1 path.
constexpr int kPlain = INT_MAX;

u32 reference(int mode, u32 sw, u32 dw, int op = kPlain) {
    if (op != kPlain) { // (c * op) div 255 in signed 32-bit arithmetic (the product wraps)
        auto scale = [op](int c) { return int(std::int32_t(u32(c) * u32(op))) / 255; };
        const Px p = unpack(sw);
        sw = pack({scale(p.r), scale(p.g), scale(p.b), scale(p.a)});
    }
    const Px s = unpack(sw), d = unpack(dw);
    switch (mode) {
    case 0:
        return refOver(sw, dw);
    case 1: {
        const int e = s.a;
        if (d.a == 0 || e == 0) return dw;
        const int n = ((255 - e) * d.a) / 255;
        return pack({d.r * n / d.a, d.g * n / d.a, d.b * n / d.a, n});
    }
    case 2:
    case 3: {
        if (d.a == 0) return sw;
        if (s.a == 0) return dw;
        const u32 bw = s.a == 255 ? sw : refOver(sw, dw);
        const Px b = unpack(bw);
        const bool take = mode == 2 ? 3 * d.a - d.r - d.g - d.b <= 3 * b.a - b.r - b.g - b.b
                                    : d.r + d.g + d.b <= b.r + b.g + b.b;
        return take ? bw : dw;
    }
    case 4:
        if (s.a == 0 || dw == 0xFF000000u) return dw;
        if (d.r == 0 && d.g == 0 && d.b == 0 && 30 * s.r + 59 * s.g + 11 * s.b > (255 - d.a) * 100)
            return dw;
        return refOver(sw, dw);
    case 5: {
        const int k = 255 - s.a;
        return pack({d.r * k / 255, d.g * k / 255, d.b * k / 255, d.a});
    }
    case 6: {
        const int k = 255 - s.a;
        return pack({d.a - (d.a - d.r) * k / 255, d.a - (d.a - d.g) * k / 255,
                     d.a - (d.a - d.b) * k / 255, d.a});
    }
    case 7:
        return refMultiply(sw, dw);
    }
    return dw;
}

// A premultiplied pixel (each colour at most alpha, which is often 0 or 255)
// or any word at all.
u32 randomPixel(std::mt19937& rng, bool valid) {
    const u32 w = u32(rng());
    if (!valid) return w;
    const u32 pick = rng() % 8;
    const int alpha = pick == 0 ? 0 : pick == 1 ? 255 : int(w >> 24);
    auto c = [&](int shift) { return int(w >> shift & 0xFF) % (alpha + 1); };
    return pack({c(0), c(8), c(16), alpha});
}

struct Rows {
    std::vector<u32> src, dst;
};

// Every source value in every channel against every (or every step-th) one.
Rows grid(int step) {
    Rows g;
    for (int s = 0; s < 256; ++s)
        for (int d = 0; d < 256; d += step) {
            g.src.push_back(pack({s, 255 - s, s ^ 0x5A, s}));
            g.dst.push_back(pack({d, d ^ 0xA5, 255 - d, (d * 7) & 0xFF}));
        }
    return g;
}

// The full grid; corner values (0, 1, 254, 255 in each channel) against each
// other; random premultiplied pixels; random words; runs of clear and of
// opaque sources long enough for whole blocks. The length is not a multiple
// of any vector width.
const Rows& sharedRows() {
    static const Rows all = [] {
        Rows rows = grid(1);
        const int corner[4] = {0, 1, 254, 255};
        auto corners = [&](int i) {
            return pack(
                {corner[i & 3], corner[i >> 2 & 3], corner[i >> 4 & 3], corner[i >> 6 & 3]});
        };
        for (int i = 0; i < 256 * 256; ++i) {
            rows.src.push_back(corners(i));
            rows.dst.push_back(corners(i >> 8));
        }
        std::mt19937 rng(20240611);
        for (int i = 0; i < 90011; ++i) {
            rows.src.push_back(randomPixel(rng, i < 60000));
            rows.dst.push_back(randomPixel(rng, i < 60000 || i % 2 == 0));
        }
        for (int i = 0; i < 4099; ++i) {
            const u32 w = randomPixel(rng, false);
            rows.src.push_back((i / 512) % 2 ? (w | 0xFF000000u) : (w & 0x00FFFFFFu));
            rows.dst.push_back(randomPixel(rng, i % 3 != 0));
        }
        return rows;
    }();
    return all;
}

// Reports the first mismatch of a run against the reference, and how many.
::testing::AssertionResult agrees(int mode, int op, const std::vector<u32>& src,
                                  const std::vector<u32>& dst, const std::vector<u32>& out) {
    std::size_t bad = 0, first = 0;
    for (std::size_t i = src.size(); i-- > 0;)
        if (out[i] != reference(mode, src[i], dst[i], op)) bad++, first = i;
    if (bad == 0) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "mode " << mode << " op " << op << ", " << bad << " mismatches; first: S " << std::hex
           << src[first] << " D " << dst[first] << " -> " << out[first] << ", want "
           << reference(mode, src[first], dst[first], op);
}

} // namespace

// Each variant of each of the sixteen loops: the plain loops over the whole
// test set, the scaled ones under every factor (over the whole set for a few,
// over the spread grid for all), so every product of a channel and a factor
// and every product in the over step.
TEST(TransferModes, EveryLoopOfEveryVariantMatchesTheReference) {
    const Rows& rows = sharedRows();
    const Rows sparse = grid(17);
    for (const auto& variant : transfer_modes::variants()) {
        SCOPED_TRACE("variant " + variant.name);
        for (int mode = 0; mode < 8; ++mode) {
            std::vector<u32> out = rows.dst;
            variant.rows[mode][0](rows.src.data(), out.data(), out.size(), 0);
            ASSERT_TRUE(agrees(mode, kPlain, rows.src, rows.dst, out));
            for (int op = 0; op < 256; ++op) {
                const bool all = op <= 2 || op == 127 || op == 128 || op == 200 || op >= 254;
                const Rows& in = all ? rows : sparse;
                out = in.dst;
                variant.rows[mode][1](in.src.data(), out.data(), out.size(), u32(op));
                ASSERT_TRUE(agrees(mode, op, in.src, in.dst, out));
            }
            // In place; short rows end inside a vector, the long one holds
            // whole blocks of clear and of opaque sources.
            for (long n : {0L, 1L, 15L, 17L, 40L, 4099L}) {
                std::vector<u32> same(rows.src.end() - n, rows.src.end());
                const std::vector<u32> before = same;
                variant.rows[mode][1](same.data(), same.data(), same.size(), 77);
                ASSERT_TRUE(agrees(mode, 77, before, before, same)) << "in place, n " << n;
            }
        }
    }
}

// The pixel multiply divides by the larger alpha: every pair of alphas, with
// random colours, checks each quotient (the loops meet them in the grid).
TEST(TransferModes, MultiplyMatchesTheReferenceForEveryPairOfAlphas) {
    std::mt19937 rng(7);
    for (int i = 0; i < 256 * 256 * 4; ++i) {
        const u32 p = (u32(rng()) & 0x00FFFFFFu) | u32(i >> 10) << 24,
                  q = (u32(rng()) & 0x00FFFFFFu) | u32(i >> 2 & 0xFF) << 24;
        ASSERT_EQ(color_ns::multiply(p, q), refMultiply(p, q)) << std::hex << p << " " << q;
    }
}

// Hand-worked results pin the reference down; the loops are compared with it.
TEST(TransferModes, WorkedExamples) {
    EXPECT_EQ(reference(0, 0x80000080u, 0xFF00FF00u), 0xFF007F80u);
    EXPECT_EQ(reference(0, WHITE, TRANSPARENT, 128), 0x80808080u); // opacity 0.5
    EXPECT_EQ(reference(1, 0x80000000u, WHITE), 0x7F7F7F7Fu);      // erase halves
    EXPECT_EQ(reference(2, 0x00123456u, 0x00000000u), 0x00123456u);
    // Colorize never paints opaque black; over nearly opaque black only a
    // dark source paints.
    EXPECT_EQ(reference(4, WHITE, BLACK), BLACK);
    EXPECT_EQ(reference(4, WHITE, 0xFE000000u), 0xFE000000u);
    EXPECT_EQ(reference(5, BLACK, 0u), 0u); // shadow and hilight add no coverage
    EXPECT_EQ(reference(6, BLACK, 0x80000000u), 0x80808080u);
    EXPECT_EQ(reference(7, 0x80808080u, WHITE), WHITE);
    // The opacity factor truncates toward zero; NaN and huge give INT_MIN.
    EXPECT_EQ(transfer_modes::opacityFactor(0.99999f), 255);
    EXPECT_EQ(transfer_modes::opacityFactor(-0.5f), -127);
    EXPECT_EQ(transfer_modes::opacityFactor(NAN), INT_MIN);
    EXPECT_EQ(transfer_modes::opacityFactor(1e30f), INT_MIN);
}

// Every opacity, including the caller's errors, gives the reference's result
// for its factor (opacity 1: the plain one) on every mode, in the span only.
TEST(TransferModes, TransferRectAppliesTheFactorToTheSpanOnly) {
    const auto src0 = sharedRows().src.begin() + 140000, dst0 = sharedRows().dst.begin() + 140000;
    Bitmap src(Size{61, 37}), before(Size{61, 37}), dst(Size{61, 37});
    std::copy_n(src0, 61 * 37, src.pixels());
    std::copy_n(dst0, 61 * 37, before.pixels());
    for (const Rect r : {Rect{3.5f, 2.25f, 20, 9.5f}, Rect{0, 5, 61, 3}, Rect{-10, -10, 5, 5},
                         Rect{60, 36, 0, 0}, Rect{0, 0, 61, 37}})
        for (float opacity : {1.0f, 0.99999f, 0.5f, 0.0f, 2.0f, -0.5f, 300.0f, NAN})
            for (int mode = 0; mode < 8; ++mode) {
                const int op = opacity == 1.0f ? kPlain : transfer_modes::opacityFactor(opacity);
                before.copyAllTo(dst);
                src.transferRect(r, dst, mode, opacity);
                const PixelSpan s = src.pixelSpan(r);
                for (int y = 0; y < 37; ++y)
                    for (int x = 0; x < 61; ++x) {
                        const bool inside = x >= s.x0 && x <= s.x1 && y >= s.y0 && y <= s.y1;
                        const u32 d = before.at(x, y);
                        ASSERT_EQ(dst.at(x, y), inside ? reference(mode, src.at(x, y), d, op) : d)
                            << "mode " << mode << " opacity " << opacity << " at " << x << "," << y;
                    }
                ASSERT_TRUE(std::equal(src0, src0 + 61 * 37, src.pixels())); // only read
            }
}

TEST(TransferModes, UnknownModesDoNothingWhateverTheSizes) {
    Bitmap src(Size{4, 4}), dst(Size{3, 5});
    src.fill(WHITE);
    dst.fill(0x12345678u);
    for (int mode : {8, -1, 1000, INT_MIN})
        for (float opacity : {1.0f, 0.5f}) src.transferRect(Rect{0, 0, 4, 4}, dst, mode, opacity);
    for (int i = 0; i < 15; ++i) EXPECT_EQ(dst.pixels()[i], 0x12345678u);
}

// A failed assertion names its condition, the function and the file.
TEST(TransferModesDeathTest, SizeMismatchStopsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Bitmap src(Size{4, 4}), wide(Size{5, 4});
    src.fill(WHITE);
    EXPECT_DEATH(src.transferRect(Rect{0, 0, 1, 1}, wide, 0, 1.0f),
                 "Assertion failed: \\(_width == bm->_width && _height == bm->_height\\), "
                 "function .*transferRect.*, file Bitmap.cpp");
}
