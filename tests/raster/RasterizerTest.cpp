#include "raster/CoverageRasterizer.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <vector>

namespace {

using Rule = CoverageRasterizer::FillRule;
constexpr int kSize = 64;

// One path, given to both our rasteriser and QPainter in raster space.
struct TestPath {
    struct Op {
        char kind; // 'M', 'L', 'C', 'Z'
        float v[6];
    };
    std::vector<Op> ops;
    void move(float x, float y) { ops.push_back({'M', {x, y}}); }
    void line(float x, float y) { ops.push_back({'L', {x, y}}); }
    void cubic(float a, float b, float c, float d, float e, float f) {
        ops.push_back({'C', {a, b, c, d, e, f}});
    }
    void close() { ops.push_back({'Z', {}}); }
    void rect(float x, float y, float w, float h) {
        move(x, y);
        line(x + w, y);
        line(x + w, y + h);
        line(x, y + h);
        close();
    }
};

// Alpha channel of opaque black painted over transparent pixels.
std::vector<int> ours(const TestPath& p, Rule rule, bool antialias, int w = kSize, int h = kSize) {
    std::vector<std::uint32_t> pixels(std::size_t(w * h), 0);
    CoverageRasterizer r;
    r.reset(w, h);
    for (const auto& op : p.ops) {
        if (op.kind == 'M') r.moveTo(op.v[0], op.v[1]);
        if (op.kind == 'L') r.lineTo(op.v[0], op.v[1]);
        if (op.kind == 'C') r.cubicTo(op.v[0], op.v[1], op.v[2], op.v[3], op.v[4], op.v[5]);
        if (op.kind == 'Z') r.closePath();
    }
    r.fill(pixels.data(), 0xFF000000u, rule, antialias);
    std::vector<int> alpha;
    for (std::uint32_t px : pixels) alpha.push_back(int(px >> 24));
    return alpha;
}

std::vector<int> qpainter(const TestPath& p, Rule rule, bool antialias, int w = kSize,
                          int h = kSize) {
    QImage image(w, h, QImage::Format_RGBA8888_Premultiplied);
    image.fill(Qt::transparent);
    QPainterPath path;
    path.setFillRule(rule == Rule::EvenOdd ? Qt::OddEvenFill : Qt::WindingFill);
    for (const auto& op : p.ops) {
        if (op.kind == 'M') path.moveTo(op.v[0], op.v[1]);
        if (op.kind == 'L') path.lineTo(op.v[0], op.v[1]);
        if (op.kind == 'C') path.cubicTo(op.v[0], op.v[1], op.v[2], op.v[3], op.v[4], op.v[5]);
        if (op.kind == 'Z') path.closeSubpath();
    }
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing, antialias);
    painter.fillPath(path, Qt::black);
    painter.end();
    std::vector<int> alpha;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) alpha.push_back(qAlpha(image.pixel(x, y)));
    return alpha;
}

struct Diff {
    double mean = 0;
    int max = 0;
};

Diff compare(const std::vector<int>& a, const std::vector<int>& b) {
    Diff d;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const int e = std::abs(a[i] - b[i]);
        d.mean += e;
        d.max = std::max(d.max, e);
    }
    d.mean /= double(a.size());
    return d;
}

TestPath randomPath(std::mt19937& rng, bool curves, float lo, float hi) {
    std::uniform_real_distribution<float> coord(lo, hi);
    TestPath p;
    const int subpaths = 1 + int(rng() % 3);
    for (int s = 0; s < subpaths; ++s) {
        p.move(coord(rng), coord(rng));
        const int n = 2 + int(rng() % 6);
        for (int i = 0; i < n; ++i) {
            if (curves && rng() % 2)
                p.cubic(coord(rng), coord(rng), coord(rng), coord(rng), coord(rng), coord(rng));
            else
                p.line(coord(rng), coord(rng));
        }
        if (rng() % 2) p.close();
    }
    return p;
}

} // namespace

TEST(CoverageRasterizer, PixelAlignedRectanglesAreExact) {
    TestPath p;
    p.rect(3, 5, 20, 7);
    p.rect(30, 40, 1, 1);
    for (bool aa : {true, false}) {
        const std::vector<int> a = ours(p, Rule::NonZero, aa);
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x) {
                const bool inside = (x >= 3 && x < 23 && y >= 5 && y < 12) || (x == 30 && y == 40);
                ASSERT_EQ(a[std::size_t(y * kSize + x)], inside ? 255 : 0)
                    << x << "," << y << " aa " << aa;
            }
    }
}

TEST(CoverageRasterizer, HalfPixelEdgesGiveHalfCoverage) {
    TestPath p;
    p.rect(2.5f, 2, 3, 1); // columns 2 and 5 half covered
    const std::vector<int> a = ours(p, Rule::NonZero, true);
    EXPECT_EQ(a[2 * kSize + 2], 128);
    EXPECT_EQ(a[2 * kSize + 3], 255);
    EXPECT_EQ(a[2 * kSize + 5], 128);
    EXPECT_EQ(a[2 * kSize + 6], 0);
}

TEST(CoverageRasterizer, RandomPathsMatchQPainter) {
    std::mt19937 rng(1234);
    for (int round = 0; round < 60; ++round) {
        const bool curves = round % 2 == 1;
        const Rule rule = round % 3 == 0 ? Rule::EvenOdd : Rule::NonZero;
        // Some paths stay inside, some reach well beyond every edge.
        const TestPath p =
            round % 4 == 3 ? randomPath(rng, curves, -40, 104) : randomPath(rng, curves, 0, kSize);
        const Diff d = compare(ours(p, rule, true), qpainter(p, rule, true));
        EXPECT_LT(d.mean, 1.0) << "round " << round;
        // Flattening differs from QPainter's at sharp bends of random curves.
        EXPECT_LE(d.max, curves ? 64 : 8) << "round " << round;
    }
}

TEST(CoverageRasterizer, CirclesMatchExactDiscs) {
    // Pen outlines are mostly circles: compare with the true discs' coverage,
    // sampled 16 x 16 times per pixel.
    TestPath p;
    const float k = 0.5522847f;
    const float circles[][3] = {
        {10.3f, 12.7f, 3.2f}, {40.5f, 14.25f, 12}, {22.1f, 42.9f, 18}, {60, 60, 9}};
    for (const auto& c : circles) {
        const float x = c[0], y = c[1], r = c[2];
        p.move(x + r, y);
        p.cubic(x + r, y + k * r, x + k * r, y + r, x, y + r);
        p.cubic(x - k * r, y + r, x - r, y + k * r, x - r, y);
        p.cubic(x - r, y - k * r, x - k * r, y - r, x, y - r);
        p.cubic(x + k * r, y - r, x + r, y - k * r, x + r, y);
        p.close();
    }
    std::vector<int> exact;
    for (int py = 0; py < kSize; ++py)
        for (int px = 0; px < kSize; ++px) {
            int in = 0;
            for (int sy = 0; sy < 16; ++sy)
                for (int sx = 0; sx < 16; ++sx) {
                    const float x = float(px) + (float(sx) + 0.5f) / 16,
                                y = float(py) + (float(sy) + 0.5f) / 16;
                    bool inside = false;
                    for (const auto& c : circles)
                        inside = inside ||
                                 (x - c[0]) * (x - c[0]) + (y - c[1]) * (y - c[1]) < c[2] * c[2];
                    in += inside;
                }
            exact.push_back((in * 255 + 128) / 256);
        }
    const Diff d = compare(ours(p, Rule::NonZero, true), exact);
    EXPECT_LT(d.mean, 0.5);
    EXPECT_LE(d.max, 16);
}

TEST(CoverageRasterizer, AliasedFillsArePixelCentreSamples) {
    std::mt19937 rng(99);
    for (int round = 0; round < 30; ++round) {
        const Rule rule = round % 2 ? Rule::EvenOdd : Rule::NonZero;
        const TestPath p = randomPath(rng, round % 3 == 0, -10, 74);
        const std::vector<int> a = ours(p, rule, false);
        int mismatched = 0;
        for (int v : a) ASSERT_TRUE(v == 0 || v == 255);
        const std::vector<int> q = qpainter(p, rule, false);
        for (std::size_t i = 0; i < a.size(); ++i) mismatched += a[i] != q[i];
        // Pixels whose centre lies on an edge may go either way.
        EXPECT_LT(mismatched, 40) << "round " << round;
    }
}

TEST(CoverageRasterizer, WindingRules) {
    // Two squares, the inner one drawn in the same direction: non-zero fills
    // it (winding 2), even-odd leaves a hole. Drawn the other way round, the
    // inner one is a hole under both rules.
    TestPath same, reversed;
    same.rect(10, 10, 40, 40);
    same.rect(20, 20, 20, 20);
    reversed.rect(10, 10, 40, 40);
    reversed.move(20, 20);
    reversed.line(20, 40);
    reversed.line(40, 40);
    reversed.line(40, 20);
    reversed.close();
    auto at = [](const std::vector<int>& a, int x, int y) { return a[std::size_t(y * kSize + x)]; };
    for (bool aa : {true, false}) {
        EXPECT_EQ(at(ours(same, Rule::NonZero, aa), 30, 30), 255);
        EXPECT_EQ(at(ours(same, Rule::EvenOdd, aa), 30, 30), 0);
        EXPECT_EQ(at(ours(same, Rule::EvenOdd, aa), 15, 15), 255);
        EXPECT_EQ(at(ours(reversed, Rule::NonZero, aa), 30, 30), 0);
        EXPECT_EQ(at(ours(reversed, Rule::NonZero, aa), 15, 30), 255);
    }
}

TEST(CoverageRasterizer, ClipsAtEveryEdgeAndSurvivesBadCoordinates) {
    // A rectangle far larger than the target covers all of it.
    TestPath big;
    big.rect(-1e6f, -1e6f, 2e6f, 2e6f);
    for (int v : ours(big, Rule::NonZero, true, 7, 5)) ASSERT_EQ(v, 255);
    // Wholly outside: nothing.
    TestPath outside;
    outside.rect(-30, 10, 20, 20);
    outside.rect(70, 10, 20, 20);
    outside.move(-5, -5);
    outside.cubic(-10, -50, 100, -60, 20, -5);
    for (int v : ours(outside, Rule::NonZero, true)) ASSERT_EQ(v, 0);
    // Non-finite and huge coordinates are dropped or clipped, never a crash.
    TestPath bad;
    bad.move(10, 10);
    bad.line(std::numeric_limits<float>::quiet_NaN(), 20);
    bad.cubic(1e30f, 1e30f, -1e30f, 5, 3, std::numeric_limits<float>::infinity());
    bad.line(30, 40);
    bad.close();
    (void)ours(bad, Rule::NonZero, true);
    (void)ours(bad, Rule::EvenOdd, false);
    // An empty target paints nothing.
    EXPECT_TRUE(ours(big, Rule::NonZero, true, 0, 0).empty());
}

TEST(CoverageRasterizer, TallFillsAreSeamlessAcrossBands) {
    // Big enough to need several bands of cells; edges cross every band.
    const int w = 1500, h = 2 * CoverageRasterizer::kMaxCells / w;
    TestPath p;
    p.move(10.5f, 3.25f);
    p.line(1490.2f, float(h) - 7.7f);
    p.line(20.75f, float(h) - 1.1f);
    p.close();
    p.rect(700, -5, 20, float(h) + 10);
    for (bool aa : {true, false}) {
        const Diff d =
            compare(ours(p, Rule::NonZero, aa, w, h), qpainter(p, Rule::NonZero, aa, w, h));
        EXPECT_LT(d.mean, 0.05) << aa;
        EXPECT_LE(d.max, aa ? 8 : 255) << aa;
    }
}

TEST(CoverageRasterizer, BlendIsSourceOverOnPremultipliedWords) {
    EXPECT_EQ(CoverageRasterizer::blend(0xFFFFFFFFu, 0xFF000000u, 255), 0xFF000000u);
    EXPECT_EQ(CoverageRasterizer::blend(0xFFFFFFFFu, 0xFF000000u, 0), 0xFFFFFFFFu);
    // Half-covered opaque black over white: mid grey.
    EXPECT_EQ(CoverageRasterizer::blend(0xFFFFFFFFu, 0xFF000000u, 128), 0xFF7F7F7Fu);
    // Half-transparent red (premultiplied 0x80) over opaque blue.
    EXPECT_EQ(CoverageRasterizer::blend(0xFFFF0000u, 0x80000080u, 255), 0xFF7F0080u);
    // Over transparent, the source is kept as is.
    EXPECT_EQ(CoverageRasterizer::blend(0, 0x80402010u, 255), 0x80402010u);
}

TEST(CoverageRasterizer, ReusedBuffersStartClean) {
    // A big fill, then a small one elsewhere: nothing left over from the first.
    CoverageRasterizer r;
    std::vector<std::uint32_t> pixels(kSize * kSize, 0);
    r.reset(kSize, kSize);
    r.moveTo(0, 0);
    r.lineTo(64, 0);
    r.lineTo(30, 64);
    r.fill(pixels.data(), 0xFF000000u, Rule::NonZero, true);
    std::fill(pixels.begin(), pixels.end(), 0u);
    r.reset(kSize, kSize);
    r.moveTo(50, 50);
    r.lineTo(54, 50);
    r.lineTo(54, 54);
    r.fill(pixels.data(), 0xFF000000u, Rule::NonZero, true);
    for (int y = 0; y < kSize; ++y)
        for (int x = 0; x < kSize; ++x)
            if (x < 50 || y < 50) {
                ASSERT_EQ(pixels[std::size_t(y * kSize + x)], 0u) << x << "," << y;
            }
}
