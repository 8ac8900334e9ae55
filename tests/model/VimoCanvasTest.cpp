#include "model/VimoCanvas.h"
#include "model/RewindBuffer.h"

#include <gtest/gtest.h>

#include <numbers>

namespace {

bool allPixels(const Bitmap& b, std::uint32_t color) {
    for (int y = 0; y < b.height(); ++y)
        for (int x = 0; x < b.width(); ++x)
            if (b.at(x, y) != color) return false;
    return true;
}

// Transforms reach the copies through the inverse of their old one, so they
// agree with the draw bitmap up to rounding.
void expectSharedTransform(VimoCanvas& canvas) {
    const AffineMatrix m = canvas.drawBitmap().transform();
    for (const Bitmap* b : {&canvas.strokeBitmap(), &canvas.previewBitmap()}) {
        const AffineMatrix t = b->transform();
        for (auto [x, y] :
             {std::pair{t.a, m.a}, {t.b, m.b}, {t.c, m.c}, {t.d, m.d}, {t.tx, m.tx}, {t.ty, m.ty}})
            EXPECT_NEAR(x, y, 1e-4);
    }
}

TEST(VimoCanvas, ZoomAndRotateBringTheWorldPointUnderThePointToTheCentre) {
    VimoCanvas canvas(Size{200, 100});
    EXPECT_TRUE(allPixels(canvas.drawBitmap(), TRANSPARENT) &&
                allPixels(canvas.strokeBitmap(), TRANSPARENT) &&
                allPixels(canvas.previewBitmap(), TRANSPARENT));
    canvas.setTransform(AffineMatrix::makeTranslation(10, -5));
    expectSharedTransform(canvas);

    const Point p{30, 70}, world = canvas.bitmapPointToWorldPoint(p);
    canvas.zoomToPoint(p, 2);
    EXPECT_NEAR(canvas.transform().scaleFactor(), 2, 1e-5);
    const Point centre = canvas.worldPointToBitmapPoint(world);
    EXPECT_NEAR(centre.x, 100, 1e-2);
    EXPECT_NEAR(centre.y, 50, 1e-2);
    expectSharedTransform(canvas);

    const Point q{150, 20}, world2 = canvas.bitmapPointToWorldPoint(q);
    canvas.rotateAroundPoint(q, std::numbers::pi_v<float> / 2);
    const Point centre2 = canvas.worldPointToBitmapPoint(world2);
    EXPECT_NEAR(centre2.x, 100, 1e-2);
    EXPECT_NEAR(centre2.y, 50, 1e-2);
    EXPECT_NEAR(canvas.transform().a, 0, 1e-4) << "a quarter turn";
    expectSharedTransform(canvas);
}

TEST(VimoCanvas, EndPreviewWipesToolFeedbackInsideTheRectangleOnly) {
    VimoCanvas canvas(Size{20, 20});
    canvas.fill(GREEN);
    EXPECT_TRUE(allPixels(canvas.strokeBitmap(), TRANSPARENT))
        << "fill leaves the stroke bitmap alone";
    canvas.previewBitmap().fill(BLUE);
    canvas.strokeBitmap().fill(RED);
    EXPECT_EQ(canvas.colorAt(Point{3.5f, 5.5f}), BLUE) << "the shown colour";

    canvas.endPreview(Rect{2, 3, 5, 4}); // pixels 2..7 x 3..7
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x) {
            const bool inside = x >= 2 && x <= 7 && y >= 3 && y <= 7;
            ASSERT_EQ(canvas.previewBitmap().at(x, y), inside ? GREEN : BLUE);
            ASSERT_EQ(canvas.strokeBitmap().at(x, y), inside ? TRANSPARENT : RED);
        }
}

TEST(VimoCanvas, RewindRestoresTheNearestSnapshotAndDropsNewerOnes) {
    VimoCanvas canvas(Size{4, 4});
    canvas.fill(RED);
    EXPECT_EQ(canvas.rewindToBeforeStroke(5), 0);
    EXPECT_TRUE(allPixels(canvas.drawBitmap(), TRANSPARENT));
    EXPECT_TRUE(allPixels(canvas.previewBitmap(), TRANSPARENT));

    // Strokes added one by one, each leaving its own colour.
    for (int n = 1; n <= 30; ++n) {
        canvas.drawBitmap().fill(0xFF000000u | unsigned(n));
        canvas.recordRewindBufferStroke(n);
    }
    EXPECT_EQ(canvas.rewindToBeforeStroke(25), 20);
    EXPECT_TRUE(allPixels(canvas.drawBitmap(), 0xFF000000u | 20u));
    EXPECT_TRUE(allPixels(canvas.previewBitmap(), 0xFF000000u | 20u));
    EXPECT_EQ(canvas.rewindBuffer().strokeCounts(), (std::vector<int>{0, 10, 20}));
}

} // namespace
