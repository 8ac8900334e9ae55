#include "model/AffineTransform.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {
void expectNear(Point actual, Point expected, float tolerance = 1e-4f) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
}
} // namespace

TEST(AffineTransform, NewStepsApplyBeforeWhatWasThere) {
    AffineTransform t;
    t.scaleBy(2);
    t.translateXBy(10, 0); // first translate, then scale
    expectNear(t.transformPoint({1, 1}), {22, 2});

    AffineTransform r;
    r.rotateByDegrees(90);
    expectNear(r.transformPoint({1, 0}), {0, 1});
    r.scaleXBy(2, 3);
    expectNear(r.transformPoint({1, 1}), {-3, 2});
    expectNear(r.transformSize({1, 1}), {-3, 2});
}

TEST(AffineTransform, AppendAndPrependOrderSteps) {
    AffineTransform move(AffineMatrix::makeTranslation(5, 0));
    AffineTransform turn;
    turn.rotateByRadians(std::numbers::pi_v<float> / 2);

    AffineTransform appended = move; // move, then turn
    appended.appendTransform(turn);
    expectNear(appended.transformPoint({0, 0}), {0, 5});

    AffineTransform prepended = move; // turn, then move
    prepended.prependTransform(turn);
    expectNear(prepended.transformPoint({0, 0}), {5, 0});
    expectNear(prepended.transformPoint({1, 0}), {5, 1});
}

TEST(AffineTransform, InvertRoundTripsAndLeavesSingularAlone) {
    AffineTransform t;
    t.translateXBy(3, -7);
    t.rotateByDegrees(33);
    t.scaleXBy(2, 0.5f);
    AffineTransform inverse = t;
    inverse.invert();
    for (Point p : {Point{0, 0}, Point{10, -4}, Point{123.5f, 77}})
        expectNear(inverse.transformPoint(t.transformPoint(p)), p, 1e-3f);

    AffineTransform singular(AffineMatrix{1, 2, 2, 4, 5, 6});
    singular.invert();
    EXPECT_EQ(singular.transformStruct(), (AffineMatrix{1, 2, 2, 4, 5, 6}));
}

TEST(AffineTransform, ConversionsKeepTheSixNumbersAndNullGivesZeros) {
    const AffineMatrix m{1.5f, 2, 3, 4, 5, 6};
    const AffineTransform t = CGTransformToNSTransform(m);
    EXPECT_EQ(t.transformStruct(), m);
    EXPECT_EQ(NSTransformToCGTransform(&t), m);
    EXPECT_EQ(NSTransformToCGTransform(nullptr), AffineMatrix::zero());
}
