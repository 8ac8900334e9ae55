#include "tools/VimoDocument.h"

#include "fill/FillTool.h"
#include "model/StrokesTestSupport.h"
#include "model/UndoManager.h"
#include "pens/Pen.h"
#include "support/ToolFixture.h"
#include "tools/ArrowTool.h"
#include "tools/StrokeClipboard.h"

#include <QFile>
#include <QMimeData>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

// A document over a headless view with n strokes side by side; the undo
// step that added them is closed.
struct Rig {
    explicit Rig(int n = 0) {
        doc.setMainView(&view);
        for (int i = 0; i < n; ++i) {
            s.push_back(rectStroke({float(10 + 30 * i), 10, 20, 20}));
            doc.addStroke(s.back());
        }
        doc.undoManager().endEventGroup();
        view.redrawFrom.clear();
    }
    ~Rig() { doc.setMainView(nullptr); }
    const Strokes::StrokeArray& list() { return doc.strokes().strokeArray(); }
    // The lowest stroke redrawn from since the last clear; -1 for none.
    int redrawn() {
        const auto& r = view.redrawFrom;
        const int lowest = r.empty() ? -1 : *std::min_element(r.begin(), r.end());
        view.redrawFrom.clear();
        return lowest;
    }
    void select(const Strokes::StrokeArray& strokes) {
        doc.arrowTool();
        doc.arrow().setSelection(strokes);
    }

    TestView view{{400, 300}};
    VimoDocument doc;
    Strokes::StrokeArray s;
};

QByteArray sampleDrawing() {
    QFile file(VIMO_TEST_DATA_DIR "/documents/drawing.vimo");
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(VimoDocument, ToolColourGoesToThePenOrTheFillOnly) {
    Rig r;
    r.doc.penTool();
    r.doc.setRedColor();
    r.doc.fillTool();
    r.doc.setBlueColor();
    r.doc.zoomTool();
    r.doc.setGreenColor(); // dropped
    EXPECT_EQ(r.doc.pen().color(), Color::red());
    EXPECT_EQ(r.doc.fill().color(), Color::blue());
}

// Edit commands act on the selection with the arrow tool, else on the top
// stroke; each, and its undo and redo, redraws from the lowest change.
TEST(VimoDocument, EditsRedrawFromTheLowestChangedStroke) {
    Rig r(5);
    r.doc.arrow().setSelection({r.s[1]});
    r.doc.penTool();
    r.doc.bringToFront(); // not without the arrow tool
    EXPECT_EQ(r.list(), r.s);
    r.doc.deleteStrokes(); // the top stroke, whatever is selected
    r.doc.undoManager().endEventGroup();
    EXPECT_EQ(r.list(), (Strokes::StrokeArray{r.s[0], r.s[1], r.s[2], r.s[3]}));
    EXPECT_EQ(r.redrawn(), 4);
    EXPECT_TRUE(r.doc.arrow().selection().empty());
    r.doc.undo();
    EXPECT_EQ(r.redrawn(), 4);

    r.select({r.s[2], r.s[4]});
    r.doc.deleteStrokes();
    EXPECT_EQ(r.redrawn(), 2);
    EXPECT_TRUE(r.doc.arrow().selection().empty());
    r.doc.undo();
    EXPECT_EQ(r.list(), r.s);
    EXPECT_EQ(r.redrawn(), 2);
    r.doc.redo();
    EXPECT_EQ(r.doc.strokes().count(), 3);
    EXPECT_EQ(r.redrawn(), 2);
    r.doc.undo();
    r.redrawn();

    r.select({r.s[2]});
    r.doc.bringToFront();
    r.doc.undoManager().endEventGroup();
    EXPECT_EQ(r.doc.strokes().lastStroke(), r.s[2]);
    EXPECT_EQ(r.redrawn(), 2);
    r.doc.sendToBack();
    r.doc.undoManager().endEventGroup();
    EXPECT_EQ(r.doc.strokes().strokeAtIndex(0), r.s[2]);
    EXPECT_EQ(r.redrawn(), 0);
    r.doc.undo();
    r.doc.undo();
    r.redrawn();

    // Merging the top two and undoing it redraws from the lower of them.
    r.doc.penTool();
    r.doc.mergeStrokes();
    r.doc.undoManager().endEventGroup();
    r.redrawn();
    r.doc.undo();
    EXPECT_EQ(r.list(), r.s);
    EXPECT_EQ(r.redrawn(), 3);
}

TEST(VimoDocument, CommandsOnTooFewStrokesChangeAndRedrawNothing) {
    Rig r(1);
    r.doc.penTool();
    r.doc.mergeStrokes();
    EXPECT_EQ(r.doc.strokes().count(), 1);
    EXPECT_EQ(r.redrawn(), -1);
    // Clearing leaves the arrow tool no stroke that is gone.
    r.doc.selectAll();
    r.doc.clear();
    EXPECT_TRUE(r.doc.arrow().selection().empty());
    EXPECT_EQ(r.view.redrawFrom, std::vector<int>{0});
    r.view.redrawFrom.clear();
    r.doc.penTool();
    r.doc.deleteStrokes();
    r.doc.duplicate();
    r.doc.arrowTool(); // an empty selection
    r.doc.deleteStrokes();
    r.doc.bringForward();
    r.doc.mergeStrokes();
    EXPECT_EQ(r.doc.strokes().count(), 0);
    EXPECT_EQ(r.redrawn(), -1);
}

TEST(VimoDocument, DuplicateOffsetsTheCopiesByTwentyPixels) {
    Rig r(2);
    r.view.canvas()->zoomToPoint({200, 150}, 2); // 20 pixels are 10 world units
    r.select({r.s[0]});
    r.doc.duplicate();
    ASSERT_EQ(r.doc.strokes().count(), 3);
    const auto copy = r.doc.strokes().lastStroke();
    EXPECT_EQ(r.doc.arrow().selection(), Strokes::StrokeArray{copy});
    const Rect shown0 = r.view.canvas()->worldRectToBitmapRect(r.s[0]->bounds()),
               shown1 = r.view.canvas()->worldRectToBitmapRect(copy->bounds());
    EXPECT_NEAR(shown1.x - shown0.x, 20, 1e-2);
    EXPECT_NEAR(shown1.y - shown0.y, 20, 1e-2);
    EXPECT_EQ(r.redrawn(), 2);
}

TEST(VimoDocument, CopiedStrokesPasteCentredInAnotherViewAndJunkIsRefused) {
    Rig a(1), b;
    b.view.canvas()->zoomToPoint({200, 150}, 3);
    a.doc.penTool();
    std::unique_ptr<QMimeData> data(a.doc.mimeDataForStrokes({a.s[0]}));
    ASSERT_TRUE(data->hasFormat(VimoDocument::kPasteboardType));
    ASSERT_TRUE(b.doc.pasteMimeData(*data));
    ASSERT_EQ(b.doc.strokes().count(), 1);
    EXPECT_EQ(b.doc.tool(), &b.doc.arrow());
    EXPECT_EQ(b.doc.arrow().selection().size(), 1u);
    const Rect shown =
        b.view.canvas()->worldRectToBitmapRect(b.doc.strokes().lastStroke()->bounds());
    EXPECT_NEAR(shown.x + shown.width / 2, 200, 1e-2);
    EXPECT_NEAR(shown.y + shown.height / 2, 150, 1e-2);
    EXPECT_NEAR(shown.width, 20, 1e-2); // the size it had on screen

    Rig c;
    QMimeData text, junk, flat;
    text.setText("strokes");
    junk.setData(VimoDocument::kPasteboardType, "bplist00 not really");
    // A transform that flattens everything.
    flat.setData(VimoDocument::kPasteboardType,
                 StrokeClipboard::archive({rectStroke({0, 0, 5, 5})}, {1, 0, 2, 0, 0, 0}));
    for (const QMimeData* bad : {&text, &junk, &flat}) EXPECT_FALSE(c.doc.pasteMimeData(*bad));
    EXPECT_EQ(c.doc.strokes().count(), 0);
}

TEST(VimoDocument, AddedDrawingsAreCentredAndScaledAndBadInputRefused) {
    const QByteArray data = sampleDrawing();
    Rig r;
    EXPECT_FALSE(r.doc.addVimoDocument(data, {0, 0}, NAN));
    EXPECT_FALSE(r.doc.addVimoDocument(data, {0, 0}, 0));
    EXPECT_FALSE(r.doc.addVimoDocument("not a drawing", {0, 0}, 1));
    EXPECT_EQ(r.doc.strokes().count(), 0);
    ASSERT_TRUE(r.doc.addVimoDocument(data, {500, 500}, 0.5f));
    const Rect b = r.doc.strokes().bounds();
    EXPECT_NEAR(b.x + b.width / 2, 500, 0.5);
    EXPECT_NEAR(b.y + b.height / 2, 500, 0.5);
}

TEST(VimoDocument, EditedStateFollowsUndoRedoSaveAndBackground) {
    Rig r;
    r.doc.addStroke(rectStroke({0, 0, 5, 5}));
    r.doc.undoManager().endEventGroup();
    EXPECT_TRUE(r.doc.isDocumentEdited());
    r.doc.documentSaved();
    r.doc.undo();
    EXPECT_TRUE(r.doc.isDocumentEdited());
    r.doc.redo();
    EXPECT_FALSE(r.doc.isDocumentEdited()); // back where it was saved
    r.doc.backgroundColorChanged(Color::yellow());
    EXPECT_TRUE(r.doc.isDocumentEdited());
}

TEST(VimoDocument, ReadingAFileReattachesUndoAndClearsTheSelection) {
    Rig r(5);
    r.doc.selectAll();
    ASSERT_TRUE(r.doc.loadDataRepresentation(sampleDrawing(), DocumentFile::kDocumentType));
    EXPECT_TRUE(r.doc.arrow().selection().empty());
    EXPECT_FALSE(r.doc.undoManager().canUndo());

    // Edits of the new list are undone and redrawn as before.
    const int count = r.doc.strokes().count();
    r.doc.penTool();
    r.doc.deleteStrokes();
    r.redrawn();
    r.doc.undo();
    EXPECT_EQ(r.doc.strokes().count(), count);
    EXPECT_EQ(r.view.redrawFrom, std::vector<int>{count - 1});
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
    EXPECT_EQ(r.doc.pen().penTypeName(), "Eraser");
    proximity(1, true);
    EXPECT_EQ(r.doc.pen().penTypeName(), "Pencil");

    r.doc.fillTool();
    proximity(3, true);
    EXPECT_EQ(r.doc.tool(), &r.doc.pen());
    proximity(1, false); // leaving is not entering: nothing
    EXPECT_EQ(r.doc.tool(), &r.doc.pen());
    proximity(1, true);
    EXPECT_EQ(r.doc.tool(), &r.doc.fill());
}

TEST(VimoDocument, ACustomPenShowsItsLiveLineOnceWhileDragging) {
    Rig r;
    r.doc.setPenType("Straight Line");
    r.doc.setBlueColor();
    ASSERT_EQ(r.doc.pen().penTypeName(), "Straight Line");
    Pen& pen = r.doc.pen();
    const ToolEvent down = toolEventAt({50, 150});
    pen.toolDownEvent(down, r.view, down.location);
    pen.toolMoveEvent(toolEventAt({350, 150}), {350, 150});
    const QImage shown = r.view.overlayOf(pen, Qt::white);
    EXPECT_EQ(shown.pixel(200, 150), qRgb(0, 0, 255));
    EXPECT_EQ(shown.pixel(200, 140), qRgb(255, 255, 255));
    // The queued line is drawn by the paint that follows its move only.
    EXPECT_EQ(r.view.overlayOf(pen, Qt::white).pixel(200, 150), qRgb(255, 255, 255));
    pen.toolUpEvent(toolEventAt({350, 150}));
    EXPECT_EQ(r.doc.strokes().count(), 1);
}
