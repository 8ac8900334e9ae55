#include "model/BezierPath.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

void expectRectNear(const Rect& actual, const Rect& expected) {
    EXPECT_NEAR(actual.x, expected.x, 1e-3);
    EXPECT_NEAR(actual.y, expected.y, 1e-3);
    EXPECT_NEAR(actual.width, expected.width, 1e-3);
    EXPECT_NEAR(actual.height, expected.height, 1e-3);
}

// Files store paths element by element: the layout is part of the format.
TEST(BezierPath, RectAndOvalLayoutRunCounterClockwise) {
    const BezierPath rect = BezierPath::bezierPathWithRect({1, 2, 10, 20});
    EXPECT_EQ(rect.element(1).points[0], (Point{11, 2}));
    EXPECT_EQ(rect.element(3).points[0], (Point{1, 22}));
    const BezierPath oval = BezierPath::bezierPathWithOvalInRect({0, 0, 20, 10});
    EXPECT_EQ(oval.element(0).points[0], (Point{20, 5})); // rightmost, then top, left, bottom
    EXPECT_EQ(oval.element(1).type, CurveToElement);
    EXPECT_EQ(oval.element(1).points[2], (Point{10, 10}));
    EXPECT_NEAR(oval.element(1).points[0].y, 5 + 5 * 0.5523f, 1e-3); // on the tangent
    EXPECT_EQ(oval.element(2).points[2], (Point{0, 5}));
    // The arcs stay close to the true ellipse.
    EXPECT_TRUE(oval.containsPoint({10 + 9.9f * 0.7071f, 5 + 4.9f * 0.7071f}));
    EXPECT_FALSE(oval.containsPoint({10 + 10.1f * 0.7071f, 5 + 5.1f * 0.7071f}));
}

TEST(BezierPath, AppendPointsMovesOnlyOnEmptyOrClosedPaths) {
    const Point pts[3] = {{0, 0}, {1, 0}, {1, 1}};
    BezierPath p;
    p.appendBezierPathWithPoints(pts, 3);
    p.appendBezierPathWithPoints(pts, 1);
    p.closePath();
    p.appendBezierPathWithPoints(pts + 1, 2);
    std::vector<std::int32_t> types;
    for (const PathElement& e : p.elements()) types.push_back(e.type);
    EXPECT_EQ(types,
              (std::vector<std::int32_t>{MoveToElement, LineToElement, LineToElement, LineToElement,
                                         ClosePathElement, MoveToElement, LineToElement}));
}

TEST(BezierPath, BoundsFollowCurveExtremesNotControlPoints) {
    BezierPath p;
    p.moveToPoint({0, 0});
    p.curveToPoint({30, 0}, {10, 30}, {20, 30}); // peaks at y = 22.5
    expectRectNear(p.bounds(), {0, 0, 30, 22.5f});
    expectRectNear(p.controlPointBounds(), {0, 0, 30, 30});
    // A curve after a close starts from the closed subpath's start.
    BezierPath afterClose = BezierPath::bezierPathWithRect({0, 0, 1, 1});
    afterClose.curveToPoint({0, 0}, {0, -40}, {0, -40});
    expectRectNear(afterClose.bounds(), {0, -30, 1, 31});
    // A transform moves every point, control points included.
    BezierPath moved = BezierPath::bezierPathWithOvalInRect({0, 0, 10, 10});
    moved.appendBezierPath(BezierPath::bezierPathWithRect({20, 0, 5, 5}));
    AffineTransform t;
    t.translateXBy(100, 50);
    t.scaleBy(2);
    moved.transformUsingAffineTransform(t);
    expectRectNear(moved.bounds(), {100, 50, 50, 20});
    expectRectNear(moved.controlPointBounds(), {100, 50, 50, 20});
}

TEST(BezierPath, ContainsPointUnderBothWindingRules) {
    // Two squares the same way round overlap in [5, 10] x [0, 10]; an open
    // clockwise square (closed for the fill) makes a hole in the first.
    BezierPath p = BezierPath::bezierPathWithRect({0, 0, 10, 10});
    p.appendBezierPath(BezierPath::bezierPathWithRect({5, 0, 10, 10}));
    const Point hole[4] = {{1, 1}, {1, 3}, {3, 3}, {3, 1}};
    p.appendBezierPathWithPoints(hole, 4);
    EXPECT_EQ(p.windingCountAtPoint({7, 5}), 2);
    EXPECT_FALSE(p.containsPoint({2, 2}));
    EXPECT_TRUE(p.containsPoint({12, 5}));
    p.setWindingRule(EvenOddWindingRule);
    EXPECT_FALSE(p.containsPoint({7, 5}));
    EXPECT_FALSE(p.containsPoint({2, 2}));
    EXPECT_TRUE(p.containsPoint({12, 5}));
}

} // namespace
