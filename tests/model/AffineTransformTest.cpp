#include "model/AffineTransform.h"

#include <gtest/gtest.h>

TEST(AffineTransform, NewStepsApplyFirstAndAppendPrependOrderWholeTransforms) {
    AffineTransform t;
    t.scaleBy(2);
    t.translateXBy(10, 0); // translate, then scale
    EXPECT_EQ(t.transformPoint({1, 1}), (Point{22, 2}));
    EXPECT_EQ(t.transformSize({1, 1}), (Point{2, 2}));

    AffineTransform turn;
    turn.rotateByDegrees(90);
    AffineTransform appended = t; // t, then the turn
    appended.appendTransform(turn);
    EXPECT_NEAR(appended.transformPoint({0, 0}).x, 0, 1e-5);
    EXPECT_NEAR(appended.transformPoint({0, 0}).y, 20, 1e-5);
    AffineTransform prepended = t; // the turn, then t
    prepended.prependTransform(turn);
    EXPECT_NEAR(prepended.transformPoint({1, 0}).x, 20, 1e-5);
    EXPECT_NEAR(prepended.transformPoint({1, 0}).y, 2, 1e-5);
    // No transform at all converts to the zero matrix.
    EXPECT_EQ(NSTransformToCGTransform(nullptr), AffineMatrix::zero());
}
