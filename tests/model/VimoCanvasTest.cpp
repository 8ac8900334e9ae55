#include "model/VimoCanvas.h"
#include "model/RewindBuffer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

void expectPointNear(Point a, Point b, float tolerance = 1e-3f) {
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
}

bool allPixels(const Bitmap& b, std::uint32_t color) {
    for (int y = 0; y < b.height(); ++y)
        for (int x = 0; x < b.width(); ++x)
            if (b.at(x, y) != color) return false;
    return true;
}

void expectMatrixNear(const AffineMatrix& a, const AffineMatrix& b) {
    const float tolerance = 1e-4f;
    EXPECT_NEAR(a.a, b.a, tolerance);
    EXPECT_NEAR(a.b, b.b, tolerance);
    EXPECT_NEAR(a.c, b.c, tolerance);
    EXPECT_NEAR(a.d, b.d, tolerance);
    EXPECT_NEAR(a.tx, b.tx, tolerance);
    EXPECT_NEAR(a.ty, b.ty, tolerance);
}

// Setting a transform goes through the inverse of the old one, so the copies
// agree with the master up to rounding.
void expectSharedTransform(VimoCanvas& canvas) {
    expectMatrixNear(canvas.strokeBitmap().transform(), canvas.drawBitmap().transform());
    expectMatrixNear(canvas.previewBitmap().transform(), canvas.drawBitmap().transform());
}

TEST(VimoCanvas, StartsTransparentWithThreeEqualBitmaps) {
    VimoCanvas canvas(Size{40, 30});
    EXPECT_EQ(canvas.size(), (Size{40, 30}));
    for (const Bitmap* b :
         {&canvas.drawBitmap(), &canvas.strokeBitmap(), &canvas.previewBitmap()}) {
        EXPECT_EQ(b->width(), 40);
        EXPECT_EQ(b->height(), 30);
        EXPECT_TRUE(allPixels(*b, TRANSPARENT));
    }
    EXPECT_EQ(canvas.rewindBuffer().entryCount(), 1);
}

TEST(VimoCanvas, FillLeavesTheStrokeBitmapAloneAndColorAtReadsThePreview) {
    VimoCanvas canvas(Size{8, 8});
    canvas.fill(RED);
    EXPECT_TRUE(allPixels(canvas.drawBitmap(), RED));
    EXPECT_TRUE(allPixels(canvas.previewBitmap(), RED));
    EXPECT_TRUE(allPixels(canvas.strokeBitmap(), TRANSPARENT));

    canvas.previewBitmap().at(3, 5) = BLUE;
    EXPECT_EQ(canvas.colorAt(Point{3.5f, 5.5f}), BLUE);
    EXPECT_EQ(canvas.colorAt(Point{4.5f, 5.5f}), RED);
}

TEST(VimoCanvas, EveryTransformChangeReachesAllThreeBitmaps) {
    VimoCanvas canvas(Size{100, 50});
    canvas.scale(2);
    expectSharedTransform(canvas);
    canvas.translate(Point{3, 4});
    expectSharedTransform(canvas);
    canvas.rotate(0.3f);
    expectSharedTransform(canvas);
    const AffineMatrix m{0, 1, -1, 0, 7, 9};
    canvas.setTransform(m);
    expectMatrixNear(canvas.transform(), m);
    expectSharedTransform(canvas);

    const Point w{2, 3};
    expectPointNear(canvas.worldPointToBitmapPoint(w), m.apply(w));
    expectPointNear(canvas.bitmapPointToWorldPoint(canvas.worldPointToBitmapPoint(w)), w);
}

TEST(VimoCanvas, ZoomAndRotateBringTheWorldPointUnderTheCursorToTheCentre) {
    VimoCanvas canvas(Size{200, 100});
    canvas.setTransform(AffineMatrix::makeTranslation(10, -5));
    const Point p{30, 70};
    const Point world = canvas.bitmapPointToWorldPoint(p);
    canvas.zoomToPoint(p, 2);
    EXPECT_NEAR(canvas.transform().scaleFactor(), 2, 1e-5);
    expectPointNear(canvas.worldPointToBitmapPoint(world), Point{100, 50}, 1e-2f);
    expectSharedTransform(canvas);

    const Point q{150, 20};
    const Point world2 = canvas.bitmapPointToWorldPoint(q);
    canvas.rotateAroundPoint(q, std::numbers::pi_v<float> / 2);
    expectPointNear(canvas.worldPointToBitmapPoint(world2), Point{100, 50}, 1e-2f);
    // A quarter turn maps the world x axis onto the bitmap y axis.
    const AffineMatrix t = canvas.transform();
    EXPECT_NEAR(std::fabs(t.b), 2, 1e-4);
    EXPECT_NEAR(t.a, 0, 1e-4);
    expectSharedTransform(canvas);
}

TEST(VimoCanvas, EndPreviewWipesToolFeedbackInsideTheRectangleOnly) {
    VimoCanvas canvas(Size{20, 20});
    canvas.fill(GREEN);
    canvas.previewBitmap().fill(BLUE);
    canvas.strokeBitmap().fill(RED);

    canvas.endPreview(Rect{2, 3, 5, 4});
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x) {
            const bool inside = x >= 2 && x <= 7 && y >= 3 && y <= 7;
            EXPECT_EQ(canvas.previewBitmap().at(x, y), inside ? GREEN : BLUE) << x << "," << y;
            EXPECT_EQ(canvas.strokeBitmap().at(x, y), inside ? TRANSPARENT : RED) << x << "," << y;
        }
}

TEST(VimoCanvas, RewindRestoresTheNearestSnapshotAndDropsNewerOnes) {
    VimoCanvas canvas(Size{4, 4});
    // Nothing recorded: rewinding clears to the empty picture.
    canvas.fill(RED);
    EXPECT_EQ(canvas.rewindToBeforeStroke(5), 0);
    EXPECT_TRUE(allPixels(canvas.drawBitmap(), TRANSPARENT));
    EXPECT_TRUE(allPixels(canvas.previewBitmap(), TRANSPARENT));

    // Strokes added one by one, each "painting" a new colour.
    for (int n = 1; n <= 30; ++n) {
        canvas.drawBitmap().fill(std::uint32_t(0xFF000000u | unsigned(n)));
        canvas.recordRewindBufferStroke(n);
    }
    EXPECT_EQ(canvas.rewindToBeforeStroke(25), 20);
    EXPECT_TRUE(allPixels(canvas.drawBitmap(), 0xFF000000u | 20u));
    EXPECT_TRUE(allPixels(canvas.previewBitmap(), 0xFF000000u | 20u));
    EXPECT_EQ(canvas.rewindBuffer().strokeCounts(), (std::vector<int>{0, 10, 20}));

    // Redraw-time snapshots and clearing go to the same buffer.
    EXPECT_FALSE(canvas.wantsToRecordRewindBufferStroke(32, 40));
    EXPECT_TRUE(canvas.wantsToRecordRewindBufferStroke(33, 40));
    canvas.recordRewindBufferStroke(33, 40);
    EXPECT_EQ(canvas.rewindBuffer().strokeCounts().back(), 33);
    canvas.clearRewindBuffer();
    EXPECT_EQ(canvas.rewindBuffer().entryCount(), 1);
}

} // namespace
