#include "tools/VimoDocument.h"

#include "fill/FillTool.h"
#include "model/BezierPath.h"
#include "model/UndoManager.h"
#include "pens/Pen.h"
#include "support/ToolFixture.h"
#include "tools/ArrowTool.h"
#include "tools/MoveTool.h"
#include "tools/ZoomTool.h"

#include <QFile>
#include <QMimeData>

#include <gtest/gtest.h>

namespace {

std::shared_ptr<Stroke> box(float x, Color c = Color::black()) {
    auto path = std::make_shared<BezierPath>();
    path->appendBezierPathWithRect({x, 10, 20, 20});
    return Stroke::initWithBezierPath(path, c, 0, 1);
}

struct Rig {
    TestView view{Size{300, 200}};
    VimoDocument doc;
    Rig(int strokes = 0) {
        doc.setMainView(&view);
        for (int i = 0; i < strokes; ++i) doc.addStroke(box(10.0f + 30 * float(i)));
        doc.undoManager().endEventGroup();
        view.redrawFrom.clear();
    }
    ~Rig() { doc.setMainView(nullptr); }
    Tool* pen() { return &doc.pen(); }
    Tool* arrow() { return &doc.arrow(); }
    int lastRedraw() const { return view.redrawFrom.empty() ? -1 : view.redrawFrom.back(); }
};

} // namespace

TEST(VimoDocument, ToolSwitchingAndTemporaryTools) {
    Rig r;
    EXPECT_EQ(r.doc.tool(), nullptr);
    int displays = 0;
    QObject::connect(&r.doc, &VimoDocument::toolDisplayChanged, [&] { ++displays; });
    r.doc.penTool();
    r.doc.penTool(); // already current: nothing
    EXPECT_EQ(displays, 1);
    r.doc.zoomToRect(); // for one gesture
    EXPECT_EQ(r.doc.tool(), &r.doc.zoom());
    ToolEvent e;
    e.location = {10, 10};
    r.doc.zoom().toolDownEvent(e, r.view, e.location);
    r.doc.zoom().toolUpEvent(e);
    EXPECT_EQ(r.doc.tool(), r.pen());
}

TEST(VimoDocument, ToolColourGoesToThePenOrTheFillOnly) {
    Rig r;
    r.doc.penTool();
    r.doc.setRedColor();
    EXPECT_EQ(r.doc.pen().color(), Color::red());
    r.doc.fillTool();
    r.doc.setBlueColor();
    EXPECT_EQ(r.doc.fill().color(), Color::blue());
    EXPECT_EQ(r.doc.toolColor(), Color::blue());
    r.doc.zoomTool();
    r.doc.setGreenColor(); // dropped
    EXPECT_EQ(r.doc.pen().color(), Color::red());
    EXPECT_EQ(r.doc.fill().color(), Color::blue());
    EXPECT_EQ(r.doc.toolColor(), Color::red());
}

TEST(VimoDocument, DeleteActsOnTheSelectionOnlyWithTheArrowTool) {
    Rig r(4);
    const auto s1 = r.doc.strokes().strokeAtIndex(1);
    r.doc.arrow().setSelection({s1});
    r.doc.penTool();
    r.doc.deleteStrokes(); // the top stroke, whatever is selected
    r.doc.undoManager().endEventGroup();
    EXPECT_EQ(r.doc.strokes().count(), 3);
    EXPECT_EQ(r.lastRedraw(), 3);
    EXPECT_TRUE(r.doc.arrow().selection().empty());

    r.doc.arrowTool();
    r.doc.arrow().setSelection({s1});
    r.doc.deleteStrokes();
    r.doc.undoManager().endEventGroup();
    EXPECT_EQ(r.doc.strokes().count(), 2);
    EXPECT_EQ(r.lastRedraw(), 1);
    EXPECT_TRUE(r.doc.arrow().selection().empty());

    // Undo puts it back and redraws from where it went in.
    r.view.redrawFrom.clear();
    r.doc.undo();
    EXPECT_EQ(r.doc.strokes().strokeAtIndex(1), s1);
    EXPECT_EQ(r.lastRedraw(), 1);
}

TEST(VimoDocument, DuplicateOffsetsTheCopiesByTwentyPixels) {
    Rig empty;
    empty.doc.duplicate();
    EXPECT_EQ(empty.doc.strokes().count(), 0);

    Rig r(2);
    r.view.canvas()->zoomToPoint({150, 100}, 2); // 20 pixels are 10 world units
    r.doc.arrowTool();
    r.doc.arrow().setSelection({r.doc.strokes().strokeAtIndex(0)});
    r.doc.duplicate();
    ASSERT_EQ(r.doc.strokes().count(), 3);
    const auto copy = r.doc.strokes().lastStroke();
    EXPECT_EQ(r.doc.arrow().selection(), Strokes::StrokeArray{copy});
    const Rect original = r.doc.strokes().strokeAtIndex(0)->bounds();
    EXPECT_NEAR(copy->bounds().x - original.x, 10, 1e-3);
    const Point shown0 = r.view.canvas()->worldPointToBitmapPoint({original.x, original.y});
    const Point shown1 =
        r.view.canvas()->worldPointToBitmapPoint({copy->bounds().x, copy->bounds().y});
    EXPECT_NEAR(shown1.x - shown0.x, 20, 1e-2);
    EXPECT_NEAR(shown1.y - shown0.y, 20, 1e-2);
    EXPECT_EQ(r.lastRedraw(), 2);
}

TEST(VimoDocument, MenuValidationFollowsToolAndSelection) {
    Rig r(2);
    r.doc.penTool();
    EXPECT_TRUE(r.doc.validateMenuItem("mergeStrokes"));
    EXPECT_TRUE(r.doc.validateMenuItem("duplicate"));
    EXPECT_FALSE(r.doc.validateMenuItem("bringForward"));
    EXPECT_TRUE(r.doc.validateMenuItem("copy")); // anything else
    r.doc.arrowTool();
    r.doc.arrow().setSelection({r.doc.strokes().strokeAtIndex(0)});
    EXPECT_FALSE(r.doc.validateMenuItem("mergeStrokes"));
    EXPECT_TRUE(r.doc.validateMenuItem("sendToBack"));
    r.doc.selectAll();
    EXPECT_TRUE(r.doc.validateMenuItem("mergeStrokes"));
    r.doc.mergeStrokes();
    EXPECT_EQ(r.doc.strokes().count(), 1);
    // The merged strokes are gone; the new one was never selected.
    EXPECT_TRUE(r.doc.arrow().selection().empty());
}

TEST(VimoDocument, ReorderingRedrawsFromTheLowestChange) {
    Rig r(4);
    const auto s2 = r.doc.strokes().strokeAtIndex(2);
    r.doc.penTool();
    r.doc.bringToFront(); // not without the arrow tool
    EXPECT_EQ(r.doc.strokes().strokeAtIndex(2), s2);
    r.doc.arrowTool();
    r.doc.arrow().setSelection({s2});
    r.doc.bringToFront();
    EXPECT_EQ(r.doc.strokes().lastStroke(), s2);
    EXPECT_EQ(r.lastRedraw(), 2);
    r.doc.sendToBack();
    EXPECT_EQ(r.doc.strokes().strokeAtIndex(0), s2);
    EXPECT_EQ(r.lastRedraw(), 0);
}

TEST(VimoDocument, CopiedStrokesPasteCentredInAnotherView) {
    Rig a(1), b;
    b.view.canvas()->zoomToPoint({150, 100}, 3);
    a.doc.penTool();
    std::unique_ptr<QMimeData> data(a.doc.mimeDataForStrokes({a.doc.strokes().lastStroke()}));
    ASSERT_TRUE(data->hasFormat(VimoDocument::kPasteboardType));
    ASSERT_TRUE(b.doc.pasteMimeData(*data));
    ASSERT_EQ(b.doc.strokes().count(), 1);
    EXPECT_EQ(b.doc.tool(), b.arrow());
    EXPECT_EQ(b.doc.arrow().selection().size(), 1u);
    const Rect shown =
        b.view.canvas()->worldRectToBitmapRect(b.doc.strokes().lastStroke()->bounds());
    EXPECT_NEAR(shown.x + shown.width / 2, 150, 1e-2);
    EXPECT_NEAR(shown.y + shown.height / 2, 100, 1e-2);
    EXPECT_NEAR(shown.width, 20, 1e-2); // the size it had on screen

    QMimeData junk;
    junk.setData(VimoDocument::kPasteboardType, "not an archive");
    EXPECT_FALSE(b.doc.pasteMimeData(junk));
}

TEST(VimoDocument, AddedDrawingsAreCentredAndScaled) {
    QFile f(VIMO_TEST_DATA_DIR "/documents/drawing.vimo");
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    Rig r;
    ASSERT_TRUE(r.doc.addVimoDocument(f.readAll(), {500, 500}, 0.5f));
    ASSERT_GT(r.doc.strokes().count(), 0);
    const Rect b = r.doc.strokes().bounds();
    EXPECT_NEAR(b.x + b.width / 2, 500, 0.5);
    EXPECT_NEAR(b.y + b.height / 2, 500, 0.5);
    EXPECT_FALSE(r.doc.addVimoDocument("garbage", {0, 0}, 1));
}

TEST(VimoDocument, ViewAndBackgroundChangesCountAsEdits) {
    Rig r(1);
    r.doc.documentSaved();
    EXPECT_FALSE(r.doc.isDocumentEdited());
    r.doc.backgroundColorChanged(Color::yellow());
    EXPECT_TRUE(r.doc.isDocumentEdited());
    EXPECT_EQ(r.doc.windowBackgroundColor(), Color::yellow());
    r.doc.documentSaved();
    r.doc.clearBackgroundColor();
    EXPECT_TRUE(r.doc.isDocumentEdited());
    EXPECT_EQ(r.doc.windowBackgroundColor(), Color::white());
    r.doc.documentSaved();
    r.doc.deleteStrokes();
    r.doc.undoManager().endEventGroup();
    EXPECT_TRUE(r.doc.isDocumentEdited());
    r.doc.undo();
    EXPECT_FALSE(r.doc.isDocumentEdited()); // back where it was saved
}

TEST(VimoDocument, TheEraserEndSwitchesPenTypeAndBack) {
    Rig r;
    auto proximity = [&](int pointerType, bool enter, int id = 0) {
        r.doc.handleProximity(
            {{"enterProximity", enter ? 1 : 0}, {"pointerID", id}, {"pointerType", pointerType}});
    };
    r.doc.setPenTypeName("Pencil");
    proximity(3, true, 1); // another pointer: ignored
    EXPECT_EQ(r.doc.pen().penTypeName(), "Pencil");
    proximity(3, true);
    EXPECT_TRUE(r.doc.erasing());
    EXPECT_EQ(r.doc.pen().penTypeName(), "Eraser");
    r.doc.setPenTypeName("Marker");
    proximity(3, true); // still the eraser: nothing
    EXPECT_EQ(r.doc.pen().penTypeName(), "Marker");
    proximity(1, true);
    EXPECT_EQ(r.doc.pen().penTypeName(), "Pencil");

    r.doc.fillTool();
    proximity(3, true);
    EXPECT_EQ(r.doc.tool(), r.pen());
    proximity(1, false); // leaving is not entering: nothing
    EXPECT_EQ(r.doc.tool(), r.pen());
    proximity(1, true);
    EXPECT_EQ(r.doc.tool(), &r.doc.fill());
}
