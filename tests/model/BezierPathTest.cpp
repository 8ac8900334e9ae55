#include "model/BezierPath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {
void expectRectNear(const Rect& actual, const Rect& expected, float tolerance = 1e-3f) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.width, expected.width, tolerance);
    EXPECT_NEAR(actual.height, expected.height, tolerance);
}

std::vector<std::int32_t> types(const BezierPath& p) {
    std::vector<std::int32_t> out;
    for (const PathElement& e : p.elements()) out.push_back(e.type);
    return out;
}
} // namespace

TEST(BezierPath, RectIsFiveElementsCounterClockwiseFromOrigin) {
    const BezierPath p = BezierPath::bezierPathWithRect({1, 2, 10, 20});
    EXPECT_EQ(types(p), (std::vector<std::int32_t>{MoveToElement, LineToElement, LineToElement,
                                                   LineToElement, ClosePathElement}));
    Point pts[3];
    EXPECT_EQ(p.elementAtIndex(0, pts), MoveToElement);
    EXPECT_EQ(pts[0], (Point{1, 2}));
    EXPECT_EQ(p.element(1).points[0], (Point{11, 2}));
    EXPECT_EQ(p.element(2).points[0], (Point{11, 22}));
    EXPECT_EQ(p.element(3).points[0], (Point{1, 22}));
    EXPECT_EQ(p.windingCountAtPoint({5, 5}), 1);
    EXPECT_EQ(p.currentPoint(), (Point{1, 2}));
}

TEST(BezierPath, OvalIsFourArcsFromTheRightmostPointCounterClockwise) {
    const BezierPath p = BezierPath::bezierPathWithOvalInRect({0, 0, 20, 10});
    EXPECT_EQ(types(p),
              (std::vector<std::int32_t>{MoveToElement, CurveToElement, CurveToElement,
                                         CurveToElement, CurveToElement, ClosePathElement}));
    Point pts[3];
    p.elementAtIndex(0, pts);
    EXPECT_EQ(pts[0], (Point{20, 5}));
    EXPECT_EQ(p.elementAtIndex(1, pts), CurveToElement);
    EXPECT_EQ(pts[2], (Point{10, 10})); // top
    EXPECT_NEAR(pts[0].x, 20, 1e-5);    // first control point straight above the start
    EXPECT_NEAR(pts[0].y, 5 + 5 * 0.5523f, 1e-3);
    EXPECT_EQ(p.element(2).points[2], (Point{0, 5}));
    EXPECT_EQ(p.element(3).points[2], (Point{10, 0}));
    EXPECT_EQ(p.element(4).points[2], (Point{20, 5}));
    EXPECT_EQ(p.windingCountAtPoint({10, 5}), 1);
    // The arcs stay close to the true ellipse.
    EXPECT_TRUE(p.containsPoint({10 + 9.9f * 0.7071f, 5 + 4.9f * 0.7071f}));
    EXPECT_FALSE(p.containsPoint({10 + 10.1f * 0.7071f, 5 + 5.1f * 0.7071f}));
}

TEST(BezierPath, AppendPointsMovesOnlyOnEmptyOrClosedPaths) {
    const Point pts[3] = {{0, 0}, {1, 0}, {1, 1}};
    BezierPath p;
    p.appendBezierPathWithPoints(pts, 3);
    EXPECT_EQ(types(p), (std::vector<std::int32_t>{MoveToElement, LineToElement, LineToElement}));
    p.appendBezierPathWithPoints(pts, 1);
    EXPECT_EQ(p.element(3).type, LineToElement);
    p.closePath();
    p.appendBezierPathWithPoints(pts + 1, 2);
    EXPECT_EQ(p.element(5).type, MoveToElement);
    EXPECT_EQ(p.element(6).type, LineToElement);
    p.appendBezierPathWithPoints(pts, 0);
    EXPECT_EQ(p.elementCount(), 7);

    BezierPath twice = p;
    twice.appendBezierPath(twice);
    EXPECT_EQ(twice.elementCount(), 14);
    EXPECT_EQ(twice.element(7), p.element(0));
}

TEST(BezierPath, BoundsFollowCurveExtremesNotControlPoints) {
    BezierPath p;
    p.moveToPoint({0, 0});
    p.curveToPoint({30, 0}, {10, 30}, {20, 30}); // peaks at y = 22.5
    expectRectNear(p.bounds(), {0, 0, 30, 22.5f});
    expectRectNear(p.controlPointBounds(), {0, 0, 30, 30});

    // An S-curve overshoots its end points sideways.
    BezierPath s;
    s.moveToPoint({0, 0});
    s.curveToPoint({0, 30}, {30, 10}, {-30, 20});
    const Rect b = s.bounds();
    EXPECT_GT(b.maxX(), 5);
    EXPECT_LT(b.maxX(), 30);
    EXPECT_NEAR(b.minX(), -b.maxX(), 1e-3);

    const Rect oval = BezierPath::bezierPathWithOvalInRect({-5, 5, 10, 4}).bounds();
    expectRectNear(oval, {-5, 5, 10, 4});
    EXPECT_EQ(BezierPath().bounds(), Rect{});
    EXPECT_EQ(BezierPath().controlPointBounds(), Rect{});

    // A curve after a close starts from the closed subpath's start.
    BezierPath afterClose = BezierPath::bezierPathWithRect({0, 0, 1, 1});
    afterClose.curveToPoint({0, 0}, {0, -40}, {0, -40});
    expectRectNear(afterClose.bounds(), {0, -30, 1, 31});
}

TEST(BezierPath, BoundsOfDamagedGeometryAreNotNumbers) {
    BezierPath p = BezierPath::bezierPathWithRect({0, 0, 10, 10});
    p.lineToPoint({std::nanf(""), 3});
    EXPECT_TRUE(p.bounds().hasNaN());
    EXPECT_FALSE(BezierPath::bezierPathWithRect({0, 0, 10, 10}).containsPoint({std::nanf(""), 5}));
}

TEST(BezierPath, ContainsPointUnderBothWindingRules) {
    // Two squares the same way round overlap in [5, 10] x [0, 10]; a third
    // square runs the other way round inside the first.
    BezierPath p = BezierPath::bezierPathWithRect({0, 0, 10, 10});
    p.appendBezierPath(BezierPath::bezierPathWithRect({5, 0, 10, 10}));
    const Point hole[4] = {{1, 1}, {1, 3}, {3, 3}, {3, 1}};
    p.appendBezierPathWithPoints(hole, 4);
    p.closePath();

    EXPECT_EQ(p.windingCountAtPoint({7, 5}), 2);
    EXPECT_EQ(p.windingCountAtPoint({2, 2}), 0);
    EXPECT_EQ(p.windingCountAtPoint({20, 5}), 0);

    EXPECT_TRUE(p.containsPoint({7, 5}));
    EXPECT_FALSE(p.containsPoint({2, 2}));
    EXPECT_TRUE(p.containsPoint({12, 5}));
    p.setWindingRule(EvenOddWindingRule);
    EXPECT_FALSE(p.containsPoint({7, 5}));
    EXPECT_FALSE(p.containsPoint({2, 2}));
    EXPECT_TRUE(p.containsPoint({12, 5}));
    EXPECT_FALSE(p.containsPoint({12, 50}));
}

TEST(BezierPath, OpenSubpathsAreClosedForContainment) {
    BezierPath p;
    p.moveToPoint({0, 0});
    p.lineToPoint({10, 0});
    p.lineToPoint({10, 10}); // no close: the fill still closes back to (0, 0)
    EXPECT_TRUE(p.containsPoint({8, 2}));
    EXPECT_FALSE(p.containsPoint({2, 8}));
}

TEST(BezierPath, TransformMovesEveryPointAndRoundTrips) {
    BezierPath p = BezierPath::bezierPathWithOvalInRect({0, 0, 10, 10});
    p.appendBezierPath(BezierPath::bezierPathWithRect({20, 0, 5, 5}));
    const BezierPath original = p;

    AffineTransform t;
    t.translateXBy(100, 50);
    t.scaleBy(2);
    p.transformUsingAffineTransform(t);
    expectRectNear(p.bounds(), {100, 50, 50, 20});
    EXPECT_EQ(p.element(p.elementCount() - 1).type, ClosePathElement);

    t.invert();
    p.transformUsingAffineTransform(t);
    ASSERT_EQ(p.elementCount(), original.elementCount());
    for (int i = 0; i < p.elementCount(); ++i)
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(p.element(i).points[k].x, original.element(i).points[k].x, 1e-4);
            EXPECT_NEAR(p.element(i).points[k].y, original.element(i).points[k].y, 1e-4);
        }
}
