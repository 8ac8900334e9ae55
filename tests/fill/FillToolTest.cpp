#include "fill/FillTool.h"
#include "model/BezierPath.h"
#include "model/PenPoints.h"
#include "support/GoldenImage.h"
#include "support/ToolFixture.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// A closed ring drawn with the pen: samples on a circle.
std::shared_ptr<Stroke> penRing(Point centre, float radius, float penRadius) {
    auto points = std::make_shared<PenPoints>(AffineMatrix::identity(), penRadius);
    for (int i = 0; i <= 64; ++i) {
        const float a = float(i) / 64 * 2 * 3.14159265f;
        points->addPointAt({centre.x + radius * std::cos(a), centre.y + radius * std::sin(a)}, 1);
    }
    points->simplify();
    return Stroke::initWithPenPoints(points, Color::black(), 0, 1);
}

struct FillRig {
    explicit FillRig(Size size = {100, 80}) : view(size), document(view), tool(document) {}
    void fillAt(Point p) { tool.toolDownEvent(toolEventAt(p), view, p); }
    std::uint32_t pixel(int x, int y) { return view.canvas()->drawBitmap().at(x, y); }
    TestView view;
    TestDocument document;
    FillTool tool;
};

} // namespace

TEST(FillTool, FillsInsideARingAsOneEvenOddStrokeAndClearsTheMask) {
    FillRig rig;
    rig.document.addStroke(penRing({50, 40}, 25, 3));
    rig.fillAt({50, 40});

    ASSERT_EQ(rig.document.strokes().count(), 2);
    const auto filled = rig.document.strokes().lastStroke();
    EXPECT_EQ(filled->windingRule(), EvenOddWindingRule);
    EXPECT_EQ(filled->color(), Color::red());
    EXPECT_EQ(rig.pixel(50, 40), RED);
    EXPECT_EQ(rig.pixel(5, 5), WHITE); // outside the ring untouched
    // The mask (the stroke bitmap) is transparent again.
    const Bitmap& mask = rig.view.canvas()->strokeBitmap();
    for (int y = 0; y < mask.height(); ++y)
        for (int x = 0; x < mask.width(); ++x) ASSERT_EQ(mask.at(x, y), TRANSPARENT);
    ASSERT_FALSE(rig.view.redrawn.empty());
    EXPECT_TRUE(matchesGolden(rig.view.canvas()->drawBitmap(), "fill/inside_ring", 2));
}

TEST(FillTool, FillingTheRingItselfKeepsItsCentreOpen) {
    FillRig rig;
    rig.document.addStroke(penRing({50, 40}, 25, 3));
    rig.tool.setColor(Color::blue());
    rig.fillAt({75, 40}); // on the ring's right edge
    const auto filled = rig.document.strokes().lastStroke();
    // The outline and the hole: two closed subpaths under even-odd.
    int moves = 0;
    for (int i = 0; i < filled->bezierPath()->elementCount(); ++i)
        moves += filled->bezierPath()->elementAtIndex(i) == MoveToElement;
    EXPECT_GE(moves, 2);
    EXPECT_EQ(rig.pixel(50, 40), WHITE);
    EXPECT_EQ(rig.pixel(75, 40), BLUE);
    EXPECT_TRUE(matchesGolden(rig.view.canvas()->drawBitmap(), "fill/ring_itself", 2));
}

TEST(FillTool, EveryClickMakesExactlyOneStroke) {
    // A 1 x 1 canvas; tolerance 1 from the canvas corner.
    {
        FillRig rig(Size{1, 1});
        rig.fillAt({0.5f, 0.5f});
        EXPECT_EQ(rig.document.strokes().count(), 1);
        EXPECT_EQ(rig.pixel(0, 0), RED);
    }
    {
        FillRig rig;
        rig.tool.setTolerance(1);
        rig.document.addStroke(penRing({50, 40}, 25, 3));
        rig.fillAt({0, 0});
        EXPECT_EQ(rig.document.strokes().count(), 2);
        EXPECT_EQ(rig.pixel(50, 40), RED); // tolerance 1 floods through the ring
        EXPECT_EQ(rig.pixel(99, 79), RED);
    }
}

// Option-click picks the shown colour, un-premultiplied.
TEST(FillTool, OptionClickPicksAColour) {
    FillRig rig;
    rig.view.canvas()->previewBitmap().fillRect({0, 0, 10, 10}, 0x80000080u); // half red
    rig.tool.toolDownEvent(toolEventAt({2, 2}, ToolEvent::OptionKey), rig.view, {2, 2});
    EXPECT_EQ(rig.document.toolColor, Color::device(1, 0, 0, 1));
    EXPECT_EQ(rig.document.strokes().count(), 0);
}
