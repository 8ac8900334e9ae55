#include "tools/MoveTool.h"
#include "tools/RotateTool.h"
#include "tools/ZoomTool.h"

#include "model/BezierPath.h"
#include "support/ToolFixture.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace {

void drag(Tool& tool, TestView& view, Point from, Point to, std::uint32_t flags = 0) {
    tool.toolDownEvent(toolEventAt(from, flags), view, from);
    if (from != to) tool.toolMoveEvent(toolEventAt(to, flags), to);
    tool.toolUpEvent(toolEventAt(to, flags));
}

// The world point shown at a view point.
Point worldAt(TestView& view, Point p) {
    return view.canvas()->bitmapPointToWorldPoint(p);
}

constexpr auto Option = ToolEvent::OptionKey;

} // namespace

TEST(ZoomTool, ClicksZoomAboutThePointAndBandsFitTheView) {
    TestView view({400, 300});
    TestDocument doc(view);
    ZoomTool zoom(doc);
    const Point under = worldAt(view, {100, 50});
    drag(zoom, view, {100, 50}, {100, 50});
    EXPECT_FLOAT_EQ(view.scale(), 2);
    // The clicked point comes to the centre.
    const Point centre = worldAt(view, {200, 150});
    EXPECT_NEAR(centre.x, under.x, 1e-3);
    EXPECT_NEAR(centre.y, under.y, 1e-3);

    drag(zoom, view, {10, 10}, {10, 10}, Option);
    EXPECT_FLOAT_EQ(view.scale(), 1);
    drag(zoom, view, {10, 10}, {13, 110}); // 3 x 100 is still a click
    EXPECT_FLOAT_EQ(view.scale(), 2);
    drag(zoom, view, {0, 0}, {100, 50}, Option); // a band zooms in whatever the keys
    EXPECT_FLOAT_EQ(view.scale(), 8);
    EXPECT_EQ(view.viewChanges, 4);
}

// The live preview of a turn must show what the turn will make of the
// picture: compare the preview with the picture drawn at the new transform.
TEST(RotateTool, ThePreviewShowsWhatTheTurnMakes) {
    TestView view({200, 200});
    TestDocument doc(view);
    view.canvas()->fill(TRANSPARENT);
    auto bar = std::make_shared<BezierPath>();
    bar->appendBezierPathWithRect({100, 90, 80, 20}); // from the centre to the right
    doc.addStroke(Stroke::initWithBezierPath(bar, Color::red(), 0, 1));
    RotateTool rotate(doc);

    const Point from{190, 100}, to{100, 190}; // a quarter turn, downward on screen
    rotate.toolDownEvent(toolEventAt(from), view, from);
    rotate.toolMoveEvent(toolEventAt(to), to);
    const QImage preview = view.overlayOf(rotate, Qt::transparent);
    rotate.toolUpEvent(toolEventAt(to));
    EXPECT_EQ(view.viewChanges, 1);
    view.canvas()->fill(TRANSPARENT);
    doc.strokes().drawInCanvas(*view.canvas());

    // The bar now points down the screen in both.
    EXPECT_EQ(qAlpha(preview.pixel(100, 160)), 255);
    EXPECT_EQ(qAlpha(preview.pixel(160, 100)), 0);
    EXPECT_NE(view.canvas()->colorAt({100, 160}), 0u);
    EXPECT_EQ(view.canvas()->colorAt({160, 100}), 0u);
}

TEST(RotateTool, ADragBackToItsStartStillChangesTheDocument) {
    TestView view({200, 200});
    TestDocument doc(view);
    RotateTool rotate(doc);
    const AffineMatrix before = view.canvas()->transform();
    drag(rotate, view, {150, 20}, {150, 20});
    EXPECT_EQ(view.viewChanges, 1);
    EXPECT_EQ(view.canvas()->transform(), before);
}

TEST(MoveTool, ThePictureFollowsTheDragAndTheToolHandsBack) {
    TestView view({200, 200});
    TestDocument doc(view);
    MoveTool move(doc);
    ZoomTool other(doc);
    doc.setTool(&other);
    move.restoreToolAfter(&other);
    doc.setTool(&move);
    const Point under = worldAt(view, {50, 50});
    drag(move, view, {50, 50}, {80, 30});
    const Point now = worldAt(view, {80, 30});
    EXPECT_NEAR(now.x, under.x, 1e-3);
    EXPECT_NEAR(now.y, under.y, 1e-3);
    EXPECT_EQ(doc.tool(), &other); // a temporary use ends with its gesture
    doc.setTool(&move);
    drag(move, view, {0, 0}, {1, 1});
    EXPECT_EQ(doc.tool(), &move); // picked by hand: stays
}
