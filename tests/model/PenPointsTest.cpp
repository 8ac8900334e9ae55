#include "model/PenPoints.h"
#include "model/AffineTransform.h"
#include "model/BezierPath.h"
#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace {

PenPoints trace(std::initializer_list<PenPoint> samples, float radius = 5,
                const AffineMatrix& m = AffineMatrix::identity()) {
    PenPoints points(m, radius);
    for (const PenPoint& s : samples) points.addPointAt(s.point, s.pressure);
    return points;
}

std::vector<float> xs(const PenPoints& p) {
    std::vector<float> out;
    for (const PenPoint& s : p.points()) out.push_back(s.point.x);
    return out;
}

void expectAllNear(const std::vector<float>& actual, const std::vector<float>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) EXPECT_NEAR(actual[i], expected[i], 1e-3) << i;
}

} // namespace

TEST(PenPointsGapFilling, InsertsPointsOnTheFittedCurveWhereSamplesAreFarApart) {
    // Equally spaced on a line: the fitted cubic is the line itself, so the
    // inserted points split each gap evenly.
    PenPoints r5 = trace({{{0, 0}, 1}, {{25, 0}, 1}, {{50, 0}, 0}, {{75, 0}, 0}}, 5);
    r5.smoothByBezierInterpolation(); // gap 10: two points per step
    expectAllNear(xs(r5), {0, 8.333f, 16.667f, 25, 33.333f, 41.667f, 50, 58.333f, 66.667f, 75});
    EXPECT_NEAR(r5.points()[4].pressure, 2.0f / 3, 1e-5); // pressure runs linearly
    EXPECT_NEAR(r5.points()[5].pressure, 1.0f / 3, 1e-5);

    PenPoints exact = trace({{{0, 0}, 1}, {{10, 0}, 1}, {{20, 0}, 1}, {{30, 0}, 1}}, 5);
    exact.smoothByBezierInterpolation(); // d == gap is not a gap
    EXPECT_EQ(exact.count(), 4);
}

TEST(PenPointsAveraging, GroupsByPathLengthKeepsEndsAloneAndDropsContainedCircles) {
    PenPoints p(AffineMatrix::identity(), 10);
    for (int x = 0; x <= 20; ++x) p.addPointAt({float(x), 0}, 1);
    p.simplifyByAveraging();
    // Groups end once twice their path length exceeds the radius (10).
    expectAllNear(xs(p), {0, 3.5f, 9.5f, 15.5f, 19, 20});

    // The middle circle (radius 10) swallows the first (radius 1) and the
    // last lies inside it.
    PenPoints contained = trace({{{0, 0}, 0.1f}, {{0.5f, 0}, 1}, {{1, 0}, 0.1f}}, 10);
    contained.simplifyByAveraging();
    ASSERT_EQ(contained.count(), 1);
    EXPECT_EQ(contained.points()[0], (PenPoint{{0.5f, 0}, 1}));
}

TEST(PenPointsOutline, CirclesJoinedByQuads) {
    EXPECT_EQ(trace({}).buildPath(), nullptr);
    EXPECT_EQ(trace({{{0, 0}, 1}}, std::numeric_limits<float>::infinity()).buildPath(), nullptr);
    auto single = trace({{{3, 4}, 1}}).buildPath();
    ASSERT_NE(single, nullptr);
    EXPECT_EQ(single->bounds(), (Rect{-2, -1, 10, 10}));
    // Equal positions give circles only.
    EXPECT_EQ(trace({{{0, 0}, 1}, {{0, 0}, 0.5f}}).buildPath()->elementCount(), 12);

    // Circle, quad (move, three lines, close), circle. A pressure of zero
    // gives an empty circle; the quad tapers to its point.
    auto tapered = trace({{{0, 0}, 1}, {{20, 0}, 0}}).buildPath();
    ASSERT_EQ(tapered->elementCount(), 17);
    EXPECT_EQ(tapered->element(7).points[0], (Point{20, 0}));
    EXPECT_EQ(tapered->element(8).points[0], (Point{20, 0}));
    EXPECT_EQ(tapered->bounds().width, 25); // from the first circle's left edge
}

TEST(PenPointsOutline, NonZeroFillIsTheUnionOfCirclesAndQuadsUnderAnyMapping) {
    // A bent trace with varying pressure; also through a mirroring mapping,
    // which must not turn the quads against the circles.
    const AffineMatrix mirror{-1, 0, 0, 1, 40, 0};
    for (const AffineMatrix& m : {AffineMatrix::identity(), mirror}) {
        const PenPoints p =
            trace({{{0, 0}, 1}, {{20, 0}, 0.6f}, {{20, 15}, 1}, {{5, 25}, 0.3f}}, 6, m);
        auto path = p.buildPath();
        ASSERT_NE(path, nullptr);
        // In circle 0 and quad 0-1 (whose end lies a little ahead of the centre).
        EXPECT_EQ(path->windingCountAtPoint(p.bitmapPointToWorldPoint({3, 0})), 2);
        EXPECT_EQ(path->windingCountAtPoint(p.bitmapPointToWorldPoint({10, 0})), 1);
        EXPECT_EQ(path->windingCountAtPoint(p.bitmapPointToWorldPoint({20, 13})), 2);
        EXPECT_EQ(path->windingCountAtPoint(p.bitmapPointToWorldPoint({10, 6})), 0);
    }
}

TEST(PenPointsTransform, MovesOnlyTheMappingNotTheSamples) {
    PenPoints p = trace({{{0, 0}, 1}, {{20, 10}, 0.5f}}, 4, AffineMatrix::makeScale(2, 2));
    const auto samples = p.points();
    const Rect old = p.buildPath()->bounds();
    AffineTransform t(AffineMatrix::makeTranslation(5, 0));
    t.scaleBy(2); // scaling the stroke up halves the mapping's scale
    p.transformUsingAffineTransform(t);
    EXPECT_EQ(p.points(), samples);
    EXPECT_FLOAT_EQ(p.scale(), 1);
    const Rect after = p.buildPath()->bounds();
    EXPECT_NEAR(after.x, old.x * 2 + 5, 1e-3);
    EXPECT_NEAR(after.width, old.width * 2, 1e-3);
}

// The file keeps tenths of a unit, truncated toward zero, and pressures in
// 255ths; simplify() rounds the same way, so that a simplified trace reads
// back exactly. Unsimplified traces are read back by the sample-file test.
TEST(PenPointsArchive, SimplifiedTracesReadBackExactly) {
    PenPoints p = trace({{{1.26f, -1.26f}, 0.5f}, {{-300.05f, 2000.99f}, 1}}, 7.5f,
                        AffineMatrix{2, 0.5f, -0.5f, 2, 10, -20});
    p.simplify();
    EXPECT_FLOAT_EQ(p.points()[0].point.x, 1.2f);
    EXPECT_FLOAT_EQ(p.points()[0].point.y, -1.2f);
    EXPECT_FLOAT_EQ(p.points()[1].point.x, -300.0f);
    EXPECT_FLOAT_EQ(p.points()[1].point.y, 2000.9f);
    EXPECT_FLOAT_EQ(p.points()[0].pressure, 127.0f / 255);
    auto back = std::dynamic_pointer_cast<PenPoints>(
        KeyedUnarchiver::unarchiveObjectWithData(KeyedArchiver::archivedDataWithRootObject(p)));
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->points(), p.points());
    EXPECT_EQ(back->transform(), p.transform());
    EXPECT_EQ(back->radius(), 7.5f);
}

// Opening a drawing takes a pen stroke's bounds from its samples and makes
// the outline only when needed: both must agree to the last bit, for any
// samples and any view mapping.
TEST(PenPointsOutline, BoundsWithoutTheOutlineAreExact) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> unit(0, 1);
    for (int run = 0; run < 300; ++run) {
        const float angle = 6.28f * unit(rng), scale = 0.1f + 8 * unit(rng);
        const AffineMatrix view =
            AffineMatrix::makeRotation(angle)
                .concat(AffineMatrix::makeScale(scale, scale))
                .concat(AffineMatrix::makeTranslation(500 * unit(rng), -300 * unit(rng)));
        PenPoints points(view, 0.5f + 30 * unit(rng));
        const int n = 1 + int(rng() % 60);
        Point p{1000 * unit(rng), 1000 * unit(rng)};
        for (int i = 0; i < n; ++i) {
            // Repeated samples and tiny moves included.
            if (rng() % 5) p = {p.x + 20 * (unit(rng) - 0.5f), p.y + 20 * (unit(rng) - 0.5f)};
            points.addPointAt(p, unit(rng));
        }
        const auto outline = points.buildPath();
        const auto bounds = points.outlineBounds();
        ASSERT_EQ(outline != nullptr, bounds.has_value());
        const Rect a = outline->bounds(), b = *bounds;
        EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0)
            << "run " << run << ": " << a.x << " " << a.y << " " << a.width << " " << a.height
            << " vs " << b.x << " " << b.y << " " << b.width << " " << b.height;
    }
}
