#include "model/VimoCanvas.h"
#include "model/RewindBuffer.h"

#include <gtest/gtest.h>

// Zooming and turning the view are checked through the view tools; the
// snapshot spacing is the rewind buffer's.

namespace {

TEST(VimoCanvas, EndPreviewWipesToolFeedbackInsideTheRectangleOnly) {
    VimoCanvas canvas(Size{20, 20});
    canvas.fill(GREEN);
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

// Rewinding restores both the picture and its preview.
TEST(VimoCanvas, RewindRestoresTheNearestSnapshotAndDropsNewerOnes) {
    VimoCanvas canvas(Size{1, 1});
    canvas.fill(RED);
    EXPECT_EQ(canvas.rewindToBeforeStroke(5), 0);
    EXPECT_EQ(canvas.drawBitmap().at(0, 0), TRANSPARENT);
    EXPECT_EQ(canvas.previewBitmap().at(0, 0), TRANSPARENT);
    for (int n = 1; n <= 30; ++n) {
        canvas.drawBitmap().fill(0xFF000000u | unsigned(n));
        canvas.recordRewindBufferStroke(n);
    }
    EXPECT_EQ(canvas.rewindToBeforeStroke(25), 20);
    EXPECT_EQ(canvas.drawBitmap().at(0, 0), 0xFF000000u | 20u);
    EXPECT_EQ(canvas.previewBitmap().at(0, 0), 0xFF000000u | 20u);
    EXPECT_EQ(canvas.rewindBuffer().strokeCounts(), (std::vector<int>{0, 10, 20}));
}

} // namespace
