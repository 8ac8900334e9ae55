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

// Paints the path over transparent pixels with our rasteriser (a fresh one
// unless one to reuse is given).
std::vector<int> ours(const QPainterPath& p, Rule rule, bool antialias, int w = kSize,
                      int h = kSize, CoverageRasterizer* reuse = nullptr) {
    CoverageRasterizer fresh;
    CoverageRasterizer& r = reuse ? *reuse : fresh;
    r.reset(w, h);
    for (int i = 0; i < p.elementCount(); ++i) {
        const QPainterPath::Element e = p.elementAt(i);
        if (e.isMoveTo()) r.moveTo(float(e.x), float(e.y));
        if (e.isLineTo()) r.lineTo(float(e.x), float(e.y));
        if (e.isCurveTo()) {
            const QPainterPath::Element c = p.elementAt(i + 1), end = p.elementAt(i + 2);
            r.cubicTo(float(e.x), float(e.y), float(c.x), float(c.y), float(end.x), float(end.y));
            i += 2;
        }
    }
    std::vector<std::uint32_t> pixels(std::size_t(w * h), 0);
    r.fill(pixels.data(), 0xFF000000u, rule, antialias);
    std::vector<int> alpha;
    for (std::uint32_t px : pixels) alpha.push_back(int(px >> 24));
    return alpha;
}

std::vector<int> qpainter(QPainterPath p, Rule rule, bool antialias, int w = kSize, int h = kSize) {
    QImage image(w, h, QImage::Format_RGBA8888_Premultiplied);
    image.fill(Qt::transparent);
    p.setFillRule(rule == Rule::EvenOdd ? Qt::OddEvenFill : Qt::WindingFill);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing, antialias);
    painter.fillPath(p, Qt::black);
    painter.end();
    std::vector<int> alpha;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) alpha.push_back(qAlpha(image.pixel(x, y)));
    return alpha;
}

struct Diff {
    double mean = 0;
    int max = 0, count = 0;
};

Diff compare(const std::vector<int>& a, const std::vector<int>& b) {
    Diff d;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const int e = std::abs(a[i] - b[i]);
        d.mean += e / double(a.size());
        d.max = std::max(d.max, e);
        d.count += e != 0;
    }
    return d;
}

QPainterPath randomPath(std::mt19937& rng, bool curves, float lo, float hi) {
    std::uniform_real_distribution<float> coord(lo, hi);
    QPainterPath p;
    const int subpaths = 1 + int(rng() % 3);
    for (int s = 0; s < subpaths; ++s) {
        p.moveTo(coord(rng), coord(rng));
        const int n = 2 + int(rng() % 6);
        for (int i = 0; i < n; ++i) {
            if (curves && rng() % 2)
                p.cubicTo(coord(rng), coord(rng), coord(rng), coord(rng), coord(rng), coord(rng));
            else
                p.lineTo(coord(rng), coord(rng));
        }
        if (rng() % 2) p.closeSubpath();
    }
    return p;
}

} // namespace

// Pixel-aligned edges are exact, also from a rasteriser reused after a
// bigger fill (nothing is left over); half-pixel edges give half coverage.
TEST(CoverageRasterizer, PixelAlignedEdgesAreExactHalfPixelEdgesHalfCovered) {
    QPainterPath p, big;
    p.addRect(3, 5, 20, 7);
    p.addRect(30, 40, 1, 1);
    big.addPolygon(QPolygonF({{0, 0}, {64, 0}, {30, 64}}));
    CoverageRasterizer reused;
    for (bool aa : {true, false}) {
        (void)ours(big, Rule::NonZero, aa, kSize, kSize, &reused);
        const std::vector<int> a = ours(p, Rule::NonZero, aa, kSize, kSize, &reused);
        for (int y = 0; y < kSize; ++y)
            for (int x = 0; x < kSize; ++x) {
                const bool inside = (x >= 3 && x < 23 && y >= 5 && y < 12) || (x == 30 && y == 40);
                ASSERT_EQ(a[std::size_t(y * kSize + x)], inside ? 255 : 0)
                    << x << "," << y << " aa " << aa;
            }
    }
    QPainterPath half;
    half.addRect(2.5, 2, 3, 1); // columns 2 and 5 half covered
    const std::vector<int> a = ours(half, Rule::NonZero, true);
    EXPECT_EQ((std::vector<int>(a.begin() + 2 * kSize + 1, a.begin() + 2 * kSize + 7)),
              (std::vector<int>{0, 128, 255, 255, 128, 0}));
}

// Random paths under both rules, some reaching well beyond every edge. Our
// flattening differs from QPainter's at sharp bends of random curves; aliased,
// pixels centred on an edge may go either way, the rest fully or not at all.
TEST(CoverageRasterizer, RandomPathsMatchQPainter) {
    std::mt19937 rng(1234);
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        const bool curves = round % 2 == 1;
        const Rule rule = round % 3 == 0 ? Rule::EvenOdd : Rule::NonZero;
        const QPainterPath p =
            round % 4 == 3 ? randomPath(rng, curves, -40, 104) : randomPath(rng, curves, 0, kSize);
        const Diff d = compare(ours(p, rule, true), qpainter(p, rule, true));
        EXPECT_LT(d.mean, 1.0);
        EXPECT_LE(d.max, curves ? 64 : 8);
        const std::vector<int> aliased = ours(p, rule, false);
        for (int v : aliased) ASSERT_TRUE(v == 0 || v == 255);
        EXPECT_LT(compare(aliased, qpainter(p, rule, false)).count, 40);
    }
}

TEST(CoverageRasterizer, ClipsAtEveryEdgeAndSurvivesBadCoordinates) {
    QPainterPath big; // far larger than the target: covers all of it
    big.addRect(-1e6, -1e6, 2e6, 2e6);
    for (int v : ours(big, Rule::NonZero, true, 7, 5)) ASSERT_EQ(v, 255);
    QPainterPath outside; // wholly outside: nothing
    outside.addRect(-30, 10, 20, 20);
    outside.addRect(70, 10, 20, 20);
    outside.moveTo(-5, -5);
    outside.cubicTo(-10, -50, 100, -60, 20, -5);
    for (int v : ours(outside, Rule::NonZero, true)) ASSERT_EQ(v, 0);
    EXPECT_TRUE(ours(big, Rule::NonZero, true, 0, 0).empty());
    // Non-finite and huge coordinates are dropped or clipped, never a crash.
    for (bool aa : {true, false}) {
        CoverageRasterizer r;
        r.reset(kSize, kSize);
        r.moveTo(10, 10);
        r.lineTo(std::numeric_limits<float>::quiet_NaN(), 20);
        r.cubicTo(1e30f, 1e30f, -1e30f, 5, 3, std::numeric_limits<float>::infinity());
        r.lineTo(30, 40);
        r.closePath();
        std::vector<std::uint32_t> pixels(kSize * kSize, 0);
        r.fill(pixels.data(), 0xFF000000u, aa ? Rule::NonZero : Rule::EvenOdd, aa);
    }
}

TEST(CoverageRasterizer, TallFillsAreSeamlessAcrossBands) {
    // Big enough to need several bands of cells; edges cross every band.
    const int w = 1500, h = 2 * CoverageRasterizer::kMaxCells / w;
    QPainterPath p;
    p.moveTo(10.5, 3.25);
    p.lineTo(1490.2, h - 7.7);
    p.lineTo(20.75, h - 1.1);
    p.closeSubpath();
    p.addRect(700, -5, 20, h + 10);
    for (bool aa : {true, false}) {
        const Diff d =
            compare(ours(p, Rule::NonZero, aa, w, h), qpainter(p, Rule::NonZero, aa, w, h));
        EXPECT_LT(d.mean, 0.05) << aa;
        EXPECT_LE(d.max, aa ? 8 : 255) << aa;
    }
}

TEST(CoverageRasterizer, BlendIsSourceOverOnPremultipliedWords) {
    EXPECT_EQ(CoverageRasterizer::blend(0xFFFFFFFFu, 0xFF000000u, 128), 0xFF7F7F7Fu);
    EXPECT_EQ(CoverageRasterizer::blend(0xFFFF0000u, 0x80000080u, 255), 0xFF7F0080u);
    EXPECT_EQ(CoverageRasterizer::blend(0, 0x80402010u, 255), 0x80402010u);
}
