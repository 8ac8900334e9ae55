#include "tools/ArrowTool.h"

#include "model/AffineTransform.h"
#include "model/StrokesTestSupport.h"
#include "model/UndoManager.h"
#include "support/ToolFixture.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>

namespace {

struct Rig {
    TestView view{Size{400, 300}};
    TestDocument doc{view};
    ArrowTool arrow{doc};
    UndoManager undo;
    std::shared_ptr<Stroke> a = rectStroke({10, 10, 50, 50});
    std::shared_ptr<Stroke> b = rectStroke({100, 10, 50, 50});
    Rig() {
        doc.strokes().setUndoManager(&undo);
        doc.addStroke(a);
        doc.addStroke(b);
        undo.endEventGroup();
    }
    void drag(Point from, Point to, std::uint32_t flags = 0) {
        arrow.toolDownEvent(toolEventAt(from, flags), view, from);
        if (from != to) arrow.toolMoveEvent(toolEventAt(to, flags), to);
        arrow.toolUpEvent(toolEventAt(to, flags));
        undo.endEventGroup();
    }
    void click(Point p, std::uint32_t flags = 0) { drag(p, p, flags); }
    // The overlay as the tool draws it over a white picture.
    QImage overlay() { return view.overlayOf(arrow, Qt::white); }
};

constexpr auto Shift = ToolEvent::ShiftKey;
constexpr auto Command = ToolEvent::CommandKey;
constexpr auto Option = ToolEvent::OptionKey;

} // namespace

TEST(ArrowTool, ClickShiftAndCommandChangeTheSelectionByTheRules) {
    Rig r;
    r.click({30, 30});
    EXPECT_EQ(r.arrow.selection(), ArrowTool::StrokeArray{r.a});
    r.click({120, 30}, Shift); // added
    EXPECT_EQ(r.arrow.selection(), (ArrowTool::StrokeArray{r.a, r.b}));
    r.click({30, 30}, Shift); // toggled off
    EXPECT_EQ(r.arrow.selection(), ArrowTool::StrokeArray{r.b});
    r.click({300, 200}); // empty space: cleared, and a zero band selects nothing
    EXPECT_TRUE(r.arrow.selection().empty());
    r.click({30, 30}, Command); // command-click adds and would rotate
    EXPECT_EQ(r.arrow.selection(), ArrowTool::StrokeArray{r.a});

    // Inside the selection's bounds the selection stays, even over another
    // stroke or none.
    r.arrow.setSelection({r.a, r.b});
    r.arrow.toolDownEvent(toolEventAt({80, 30}), r.view, {80, 30});
    EXPECT_EQ(r.arrow.dragMode(), ArrowTool::Move);
    EXPECT_EQ(r.arrow.selection().size(), 2u);
    r.arrow.toolUpEvent(toolEventAt({80, 30}));
}

TEST(ArrowTool, APendingPressBecomesADragBeyondTenUnits) {
    Rig r;
    r.arrow.toolDownEvent(toolEventAt({30, 30}, Shift), r.view, {30, 30});
    EXPECT_EQ(r.arrow.dragMode(), ArrowTool::Pending);
    r.arrow.toolMoveEvent(toolEventAt({36, 38}, Shift), {36, 38}); // exactly 10 away
    EXPECT_EQ(r.arrow.dragMode(), ArrowTool::Pending);
    r.arrow.toolMoveEvent(toolEventAt({37, 38}, Shift), {37, 38});
    EXPECT_EQ(r.arrow.dragMode(), ArrowTool::Move);
    r.arrow.toolUpEvent(toolEventAt({37, 38}));
    EXPECT_FLOAT_EQ(r.a->bounds().x, 17);
}

TEST(ArrowTool, MovesAreWorldDistancesAndOneUndoStep) {
    Rig r;
    r.view.canvas()->zoomToPoint({200, 150}, 2); // 20 view units are 10 world units
    const Point from = r.view.canvas()->worldPointToBitmapPoint({30, 30});
    r.drag(from, {from.x + 20, from.y});
    EXPECT_NEAR(r.a->bounds().x, 20, 1e-3);
    EXPECT_NEAR(r.b->bounds().x, 100, 1e-3);
    EXPECT_EQ(r.undo.undoActionName(), "Move");
    r.undo.undo();
    EXPECT_NEAR(r.a->bounds().x, 10, 1e-3);
}

TEST(ArrowTool, CommandDragRotatesAndScalesAboutTheSelectionCentre) {
    Rig r;
    r.arrow.setSelection({r.a}); // centre (35, 35)
    const AffineTransform t = [&] {
        r.arrow.toolDownEvent(toolEventAt({45, 35}, Command), r.view, {45, 35});
        return r.arrow.transformFrom({45, 35}, {35, 55});
    }();
    // A quarter turn (y up in the world) and twice the size.
    const Point p = t.transformPoint({45, 35});
    EXPECT_NEAR(p.x, 35, 1e-4);
    EXPECT_NEAR(p.y, 55, 1e-4);
    EXPECT_NEAR(t.transformPoint({35, 35}).x, 35, 1e-4);
    r.arrow.toolMoveEvent(toolEventAt({35, 55}, Command), {35, 55});
    r.arrow.toolUpEvent(toolEventAt({35, 55}, Command));
    EXPECT_NEAR(r.a->bounds().width, 100, 1e-3);
}

TEST(ArrowTool, RubberBandsEncloseOrTouchAlsoInATurnedView) {
    Rig r;
    r.drag({0, 0}, {120, 80}); // holds a, cuts b
    EXPECT_EQ(r.arrow.selection(), ArrowTool::StrokeArray{r.a});
    r.drag({0, 0}, {120, 80}, Option); // touching: both
    EXPECT_EQ(r.arrow.selection(), (ArrowTool::StrokeArray{r.a, r.b}));
    r.arrow.clearSelection();
    r.drag({300, 200}, {130, 40}, Shift); // adds, from either corner
    EXPECT_TRUE(r.arrow.selection().empty());

    // Turned by a quarter about the centre: the band is taken around its
    // corners in world coordinates.
    r.view.canvas()->rotateAroundPoint({200, 150}, float(M_PI / 2));
    const Point c0 = r.view.canvas()->worldPointToBitmapPoint({5, 5});
    const Point c1 = r.view.canvas()->worldPointToBitmapPoint({65, 65});
    r.drag(c0, c1);
    EXPECT_EQ(r.arrow.selection(), ArrowTool::StrokeArray{r.a});
}

TEST(ArrowTool, HighlightsUpToNineteenStrokesThenOnlyAFilledBox) {
    Rig r;
    auto blue = rectStroke({200, 200, 30, 30}, Color::blue());
    r.doc.addStroke(blue);
    r.arrow.setSelection({r.a, blue});
    QImage image = r.overlay();
    // Inside the blue stroke: light red; between the strokes only an outline.
    EXPECT_LT(image.pixelColor(215, 215).blue(), 180);
    EXPECT_EQ(image.pixelColor(120, 120), QColor(Qt::white));

    ArrowTool::StrokeArray many{r.a, blue};
    while (many.size() < 20) many.push_back(rectStroke({1, 1, 2, 2}));
    r.arrow.setSelection(many);
    image = r.overlay();
    EXPECT_NE(image.pixelColor(120, 120), QColor(Qt::white));          // filled
    EXPECT_EQ(image.pixelColor(215, 215), image.pixelColor(120, 120)); // no highlight
    many.pop_back();
    r.arrow.setSelection(many);
    EXPECT_EQ(r.overlay().pixelColor(120, 120), QColor(Qt::white));
}
