#include "tools/VimoDocument.h"
#include "fill/FillTool.h"
#include "model/Strokes.h"
#include "model/StrokesTestSupport.h"
#include "model/UndoManager.h"
#include "pens/Pen.h"
#include "support/ToolFixture.h"
#include "tools/ArrowTool.h"
#include "tools/MoveTool.h"
#include "tools/RotateTool.h"
#include "tools/ZoomTool.h"

#include <QFile>
#include <QMimeData>
#include <QUndoStack>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

// A document shown in a headless 400 x 300 view, with helpers to fill it.
struct DocRig {
    DocRig() { doc.setMainView(&view); }

    std::shared_ptr<Stroke> add(Rect r, const Color& c = Color::black()) {
        auto stroke = rectStroke(r, c);
        doc.addStroke(stroke);
        return stroke;
    }
    // Five strokes side by side; the undo step that added them is closed.
    void addFive() {
        for (int i = 0; i < 5; ++i) s.push_back(add({float(10 + 30 * i), 10, 20, 20}));
        doc.undoManager().endEventGroup();
        view.redrawFrom.clear();
    }
    const Strokes::StrokeArray& list() { return doc.strokes().strokeArray(); }

    TestView view{{400, 300}};
    VimoDocument doc;
    Strokes::StrokeArray s;
};

QVariantMap proximity(int enter, int pointerID, int pointerType) {
    return {{"enterProximity", enter}, {"pointerID", pointerID}, {"pointerType", pointerType}};
}

Point centreOf(const Rect& r) {
    return {r.x + r.width / 2, r.y + r.height / 2};
}

Rect unionBounds(const Strokes::StrokeArray& strokes) {
    Rect r;
    for (const auto& s : strokes) r = unionRect(r, s->bounds());
    return r;
}

} // namespace

TEST(VimoDocumentTest, SetToolSwitchesOnceAndIgnoresTheCurrentTool) {
    DocRig rig;
    EXPECT_EQ(rig.doc.tool(), nullptr);
    std::vector<Tool*> shownWith;
    QObject::connect(&rig.doc, &VimoDocument::toolDisplayChanged,
                     [&] { shownWith.push_back(rig.doc.tool()); });

    rig.doc.fillTool();
    // The display is refreshed with the new tool already current, and the
    // view is marked afterwards.
    ASSERT_EQ(shownWith, std::vector<Tool*>{&rig.doc.fill()});
    ASSERT_EQ(rig.view.redrawn.size(), 1u);
    EXPECT_EQ(rig.view.redrawn.back(), rig.view.bounds());

    rig.doc.fillTool();
    rig.doc.setTool(&rig.doc.fill());
    EXPECT_EQ(shownWith.size(), 1u);
    EXPECT_EQ(rig.view.redrawn.size(), 1u);

    rig.doc.arrowTool();
    rig.doc.penTool();
    rig.doc.moveTool();
    rig.doc.rotateTool();
    rig.doc.zoomTool();
    EXPECT_EQ(shownWith,
              (std::vector<Tool*>{&rig.doc.fill(), &rig.doc.arrow(), &rig.doc.pen(),
                                  &rig.doc.mover(), &rig.doc.rotator(), &rig.doc.zoom()}));
}

TEST(VimoDocumentTest, TemporaryToolsHandBackAfterOneGesture) {
    DocRig rig;
    rig.doc.fillTool();
    rig.doc.zoomToRect();
    EXPECT_EQ(rig.doc.tool(), &rig.doc.zoom());
    rig.doc.zoom().after(rig.doc);
    EXPECT_EQ(rig.doc.tool(), &rig.doc.fill());

    rig.doc.rotate();
    EXPECT_EQ(rig.doc.tool(), &rig.doc.rotator());
    rig.doc.rotator().after(rig.doc);
    EXPECT_EQ(rig.doc.tool(), &rig.doc.fill());

    rig.doc.arrowTool();
    rig.doc.move();
    EXPECT_EQ(rig.doc.tool(), &rig.doc.mover());
    rig.doc.mover().after(rig.doc);
    EXPECT_EQ(rig.doc.tool(), &rig.doc.arrow());
    // Handed back once only: a later gesture keeps the tool current.
    rig.doc.moveTool();
    rig.doc.mover().after(rig.doc);
    EXPECT_EQ(rig.doc.tool(), &rig.doc.mover());
}

TEST(VimoDocumentTest, ToolColourGoesToTheCurrentPenOrFillOnly) {
    DocRig rig;
    int displays = 0;
    QObject::connect(&rig.doc, &VimoDocument::toolDisplayChanged, [&] { ++displays; });
    rig.doc.penTool();
    rig.doc.setBlueColor();
    EXPECT_EQ(rig.doc.pen().color(), Color::blue());
    EXPECT_EQ(rig.doc.toolColor(), Color::blue());

    rig.doc.fillTool();
    rig.doc.setOrangeColor();
    EXPECT_EQ(rig.doc.fill().color(), Color::orange());
    EXPECT_EQ(rig.doc.pen().color(), Color::blue());
    EXPECT_EQ(rig.doc.toolColor(), Color::orange());

    rig.doc.zoomTool();
    displays = 0;
    rig.doc.setToolColor(Color::green());
    EXPECT_EQ(displays, 1);
    EXPECT_EQ(rig.doc.pen().color(), Color::blue());
    EXPECT_EQ(rig.doc.fill().color(), Color::orange());
    // The colour dialog's choice is never dropped: it goes to the pen.
    rig.doc.toolColorChanged(Color::purple());
    EXPECT_EQ(rig.doc.pen().color(), Color::purple());

    EXPECT_EQ(VimoDocument::namedColor("brown"), Color::brown());
    EXPECT_EQ(VimoDocument::namedColor("white"), Color::white());
    EXPECT_EQ(VimoDocument::namedColor("mauve"), Color::black());
}

TEST(VimoDocumentTest, PenSettingsFromMenuTitles) {
    DocRig rig;
    rig.doc.penOpacity("50%");
    EXPECT_FLOAT_EQ(rig.doc.pen().opacity(), 0.5f);
    rig.doc.penOpacity("not a number");
    EXPECT_FLOAT_EQ(rig.doc.pen().opacity(), 0.5f);
    rig.doc.penSize("12 pt");
    EXPECT_FLOAT_EQ(rig.doc.pen().radius(), 12);
    rig.doc.fillTool();
    rig.doc.setPenType("Pencil");
    EXPECT_EQ(rig.doc.tool(), &rig.doc.pen());
    EXPECT_EQ(rig.doc.pen().penTypeName(), "Pencil");
    rig.doc.setPenType("No such pen");
    EXPECT_EQ(rig.doc.pen().penTypeName(), "Pencil");
}

TEST(VimoDocumentTest, AddStrokePaintsIntoTheViewAndIsUndoable) {
    DocRig rig;
    rig.add({100, 100, 50, 50}, Color::red());
    EXPECT_EQ(rig.doc.strokes().count(), 1);
    EXPECT_EQ(rig.view.canvas()->drawBitmap().at(125, 125), rig.view.canvas()->colorAt({125, 125}));
    EXPECT_NE(rig.view.canvas()->colorAt({125, 125}) >> 24, 0u);
    ASSERT_FALSE(rig.view.redrawn.empty());
    EXPECT_FALSE(rig.view.redrawn.back().isEmpty());
    rig.doc.undo();
    EXPECT_EQ(rig.doc.strokes().count(), 0);
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{0});

    VimoDocument headless;
    headless.addStroke(rectStroke({0, 0, 5, 5}));
    EXPECT_EQ(headless.strokes().count(), 1);
}

TEST(VimoDocumentTest, DeleteActsOnTheSelectionOnlyWithTheArrowTool) {
    DocRig rig;
    rig.addFive();
    rig.doc.arrowTool();
    rig.doc.arrow().setSelection({rig.s[3], rig.s[1]});
    rig.doc.deleteStrokes();
    EXPECT_EQ(rig.list(), (Strokes::StrokeArray{rig.s[0], rig.s[2], rig.s[4]}));
    EXPECT_TRUE(rig.doc.arrow().selection().empty());
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{1});

    // Any other tool deletes the top stroke, whatever was selected.
    rig.view.redrawFrom.clear();
    rig.doc.arrow().setSelection({rig.s[0]});
    rig.doc.penTool();
    rig.doc.deleteStrokes();
    EXPECT_EQ(rig.list(), (Strokes::StrokeArray{rig.s[0], rig.s[2]}));
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{2});
    EXPECT_TRUE(rig.doc.arrow().selection().empty());

    rig.view.redrawFrom.clear();
    rig.doc.clear();
    EXPECT_EQ(rig.doc.strokes().count(), 0);
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{0});
    rig.doc.deleteStrokes(); // nothing left: nothing happens
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{0});
}

TEST(VimoDocumentTest, UndoOfACommandRedrawsFromTheLowestChangedStroke) {
    DocRig rig;
    rig.addFive();
    rig.doc.arrowTool();
    rig.doc.arrow().setSelection({rig.s[2], rig.s[4]});
    rig.doc.deleteStrokes();
    rig.view.redrawFrom.clear();
    rig.doc.undo();
    EXPECT_EQ(rig.list(), rig.s);
    ASSERT_FALSE(rig.view.redrawFrom.empty());
    EXPECT_EQ(*std::min_element(rig.view.redrawFrom.begin(), rig.view.redrawFrom.end()), 2);

    rig.view.redrawFrom.clear();
    rig.doc.redo();
    EXPECT_EQ(rig.doc.strokes().count(), 3);
    EXPECT_EQ(*std::min_element(rig.view.redrawFrom.begin(), rig.view.redrawFrom.end()), 2);

    // Merging the top two and undoing it redraws from the lower of them.
    rig.doc.penTool();
    rig.doc.mergeStrokes();
    rig.view.redrawFrom.clear();
    rig.doc.undo();
    EXPECT_EQ(rig.list(), (Strokes::StrokeArray{rig.s[0], rig.s[1], rig.s[3]}));
    EXPECT_EQ(*std::min_element(rig.view.redrawFrom.begin(), rig.view.redrawFrom.end()), 1);
}

TEST(VimoDocumentTest, DuplicateOffsetsCopiesTwentyPixelsOnScreen) {
    DocRig rig;
    rig.doc.penTool();
    rig.doc.duplicate();
    EXPECT_EQ(rig.doc.strokes().count(), 0);
    EXPECT_TRUE(rig.view.redrawFrom.empty());
    EXPECT_FALSE(rig.doc.validateMenuItem("duplicate"));

    // Zoomed in twice: 20 pixels are 10 world units.
    rig.view.canvas()->setTransform(AffineMatrix::makeScale(2, 2));
    rig.addFive();
    rig.doc.duplicate();
    ASSERT_EQ(rig.doc.strokes().count(), 6);
    const Rect top = rig.list().back()->bounds();
    EXPECT_FLOAT_EQ(top.x, rig.s[4]->bounds().x + 10);
    EXPECT_FLOAT_EQ(top.y, rig.s[4]->bounds().y + 10);
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{5});
    EXPECT_EQ(rig.doc.undoManager().undoActionName(), "Duplicate");

    // With the arrow tool the copies of the selection become the selection.
    rig.view.redrawFrom.clear();
    rig.doc.arrowTool();
    rig.doc.arrow().setSelection({rig.s[3], rig.s[0]});
    rig.doc.duplicate();
    ASSERT_EQ(rig.doc.strokes().count(), 8);
    const Strokes::StrokeArray copies{rig.list()[6], rig.list()[7]};
    EXPECT_EQ(rig.doc.arrow().selection(), copies);
    EXPECT_FLOAT_EQ(copies[0]->bounds().x, rig.s[0]->bounds().x + 10);
    EXPECT_FLOAT_EQ(copies[1]->bounds().x, rig.s[3]->bounds().x + 10);
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{6});

    VimoDocument headless;
    headless.addStroke(rectStroke({0, 0, 5, 5}));
    headless.duplicate();
    EXPECT_FLOAT_EQ(headless.strokes().lastStroke()->bounds().x, 20);
}

TEST(VimoDocumentTest, MergeAndReorderAreEnabledByToolAndSelection) {
    DocRig rig;
    rig.doc.penTool();
    EXPECT_FALSE(rig.doc.validateMenuItem("mergeStrokes"));
    rig.add({0, 0, 5, 5});
    EXPECT_FALSE(rig.doc.validateMenuItem("mergeStrokes"));
    EXPECT_TRUE(rig.doc.validateMenuItem("duplicate"));
    rig.add({10, 0, 5, 5});
    EXPECT_TRUE(rig.doc.validateMenuItem("mergeStrokes"));
    EXPECT_FALSE(rig.doc.validateMenuItem("bringForward"));
    EXPECT_TRUE(rig.doc.validateMenuItem("copy"));

    rig.doc.arrowTool();
    EXPECT_FALSE(rig.doc.validateMenuItem("mergeStrokes"));
    EXPECT_FALSE(rig.doc.validateMenuItem("duplicate"));
    EXPECT_FALSE(rig.doc.validateMenuItem("sendToBack"));
    rig.doc.arrow().setSelection({rig.list()[0]});
    EXPECT_FALSE(rig.doc.validateMenuItem("mergeStrokes"));
    for (const char* action : {"bringForward", "bringToFront", "sendBackward", "sendToBack"})
        EXPECT_TRUE(rig.doc.validateMenuItem(action)) << action;
    rig.doc.selectAll();
    EXPECT_EQ(rig.doc.arrow().selection().size(), 2u);
    EXPECT_TRUE(rig.doc.validateMenuItem("mergeStrokes"));
}

TEST(VimoDocumentTest, ReorderingRedrawsFromTheRightStroke) {
    DocRig rig;
    rig.addFive();
    rig.doc.penTool();
    rig.doc.bringToFront(); // no arrow tool: nothing
    EXPECT_EQ(rig.list(), rig.s);
    EXPECT_TRUE(rig.view.redrawFrom.empty());

    rig.doc.arrowTool();
    rig.doc.arrow().setSelection({rig.s[2]});
    rig.doc.bringForward();
    EXPECT_EQ(rig.list()[3], rig.s[2]);
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{2});
    rig.view.redrawFrom.clear();
    rig.doc.sendToBack();
    EXPECT_EQ(rig.list()[0], rig.s[2]);
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{0});

    // Merging the selection leaves no selected stroke behind.
    rig.view.redrawFrom.clear();
    rig.doc.arrow().setSelection({rig.s[4], rig.s[1]});
    rig.doc.mergeStrokes();
    EXPECT_EQ(rig.doc.strokes().count(), 4);
    EXPECT_TRUE(rig.doc.arrow().selection().empty());
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{2});
}

TEST(VimoDocumentTest, PastedStrokesAreCentredInTheTargetView) {
    DocRig source, target;
    source.view.canvas()->setTransform({2, 0, 0, 2, 30, -40});
    target.view.canvas()->setTransform({0.5f, 0, 0, 0.5f, -100, 25});
    source.add({10, 10, 20, 10});
    source.add({40, 20, 10, 10});
    target.add({0, 0, 5, 5});
    target.doc.undoManager().endEventGroup();

    source.doc.arrowTool();
    source.doc.selectAll();
    std::unique_ptr<QMimeData> data(
        source.doc.mimeDataForStrokes(source.doc.strokes().strokeArray()));
    ASSERT_TRUE(data);
    EXPECT_TRUE(data->hasFormat(VimoDocument::kPasteboardType));
    target.doc.penTool();
    ASSERT_TRUE(target.doc.pasteMimeData(*data));

    ASSERT_EQ(target.doc.strokes().count(), 3);
    EXPECT_EQ(target.doc.tool(), &target.doc.arrow());
    const Strokes::StrokeArray pasted{target.list()[1], target.list()[2]};
    EXPECT_EQ(target.doc.arrow().selection(), pasted);
    // Seen in the target view the strokes are centred and as large as they
    // were seen in the source view (2 x 40 by 2 x 20 pixels).
    const Rect world = unionBounds(pasted);
    const AffineMatrix t = target.view.canvas()->transform();
    const Point c = t.apply(centreOf(world));
    EXPECT_NEAR(c.x, 200, 0.01);
    EXPECT_NEAR(c.y, 150, 0.01);
    EXPECT_NEAR(world.width * 0.5f, 80, 0.01);
    EXPECT_NEAR(world.height * 0.5f, 40, 0.01);
    // The source strokes themselves are untouched.
    EXPECT_EQ(source.list()[0]->bounds(), (Rect{10, 10, 20, 10}));

    // One paste is one undo step.
    target.doc.undo();
    EXPECT_EQ(target.doc.strokes().count(), 1);
    EXPECT_TRUE(target.doc.arrow().selection().empty());
}

TEST(VimoDocumentTest, ForeignOrDamagedClipboardDataIsNotPasted) {
    DocRig rig;
    QMimeData text;
    text.setText("strokes");
    EXPECT_FALSE(rig.doc.pasteMimeData(text));
    QMimeData junk;
    junk.setData(VimoDocument::kPasteboardType, "bplist00 not really");
    EXPECT_FALSE(rig.doc.pasteMimeData(junk));
    EXPECT_EQ(rig.doc.strokes().count(), 0);
    EXPECT_EQ(rig.doc.mimeDataForStrokes({}), nullptr);
}

TEST(VimoDocumentTest, ChangeCountFollowsBackgroundUndoAndSave) {
    DocRig rig;
    int editedSignals = 0;
    QObject::connect(&rig.doc, &VimoDocument::editedChanged, [&] { ++editedSignals; });
    EXPECT_FALSE(rig.doc.isDocumentEdited());

    rig.doc.backgroundColorChanged(Color::yellow());
    EXPECT_TRUE(rig.doc.isDocumentEdited());
    EXPECT_GT(editedSignals, 0);
    EXPECT_EQ(rig.doc.windowBackgroundColor(), Color::yellow());
    rig.doc.documentSaved();
    EXPECT_FALSE(rig.doc.isDocumentEdited());
    rig.doc.clearBackgroundColor();
    EXPECT_FALSE(rig.doc.backgroundColor().has_value());
    EXPECT_EQ(rig.doc.windowBackgroundColor(), Color::white());
    EXPECT_TRUE(rig.doc.isDocumentEdited());
    rig.doc.documentSaved();

    editedSignals = 0;
    rig.add({0, 0, 5, 5});
    rig.doc.undoManager().endEventGroup();
    EXPECT_TRUE(rig.doc.isDocumentEdited());
    EXPECT_GT(editedSignals, 0);
    rig.doc.documentSaved();
    EXPECT_FALSE(rig.doc.isDocumentEdited());
    rig.doc.undo();
    EXPECT_TRUE(rig.doc.isDocumentEdited());
    rig.doc.redo();
    EXPECT_FALSE(rig.doc.isDocumentEdited());
}

TEST(VimoDocumentTest, EraserEndSwitchesToTheEraserPenAndBack) {
    DocRig rig;
    rig.doc.setPenTypeName("Pencil");
    rig.doc.handleProximity(proximity(1, 7, 3)); // another pointer
    EXPECT_FALSE(rig.doc.erasing());
    EXPECT_EQ(rig.doc.pen().penTypeName(), "Pencil");

    rig.doc.handleProximity(proximity(1, 0, 3));
    EXPECT_TRUE(rig.doc.erasing());
    EXPECT_EQ(rig.doc.pen().penTypeName(), "Eraser");
    // Repeated arrivals change nothing, nor does leaving proximity.
    rig.doc.setPenTypeName("Marker");
    rig.doc.handleProximity(proximity(1, 0, 3));
    rig.doc.handleProximity(proximity(0, 0, 3));
    EXPECT_EQ(rig.doc.pen().penTypeName(), "Marker");
    EXPECT_TRUE(rig.doc.erasing());

    // The pen tip comes back: the pen type from before the eraser returns.
    rig.doc.handleProximity(proximity(1, 0, 1));
    EXPECT_FALSE(rig.doc.erasing());
    EXPECT_EQ(rig.doc.pen().penTypeName(), "Pencil");

    // Another tool was current: it returns, the pen keeps the eraser type.
    rig.doc.arrowTool();
    rig.doc.handleProximity(proximity(1, 0, 3));
    EXPECT_EQ(rig.doc.tool(), &rig.doc.pen());
    EXPECT_EQ(rig.doc.pen().penTypeName(), "Eraser");
    rig.doc.handleProximity(proximity(1, 0, 1));
    EXPECT_EQ(rig.doc.tool(), &rig.doc.arrow());
    EXPECT_EQ(rig.doc.pen().penTypeName(), "Eraser");
}

TEST(VimoDocumentTest, AddsAnotherDrawingCentredAndScaled) {
    QFile file(VIMO_TEST_DATA_DIR "/documents/drawing.vimo");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray data = file.readAll();
    DocumentFile original;
    ASSERT_TRUE(original.loadDataRepresentation(data, DocumentFile::kDocumentType));
    const int n = original.strokes().count();
    const Rect b = original.strokes().bounds();
    ASSERT_GT(n, 1);

    DocRig rig;
    rig.add({0, 0, 5, 5});
    ASSERT_TRUE(rig.doc.addVimoDocument(data, {300, 200}, 0.5f));
    ASSERT_EQ(rig.doc.strokes().count(), n + 1);
    const Strokes::StrokeArray added(rig.list().begin() + 1, rig.list().end());
    const Rect placed = unionBounds(added);
    EXPECT_NEAR(centreOf(placed).x, 300, 1);
    EXPECT_NEAR(centreOf(placed).y, 200, 1);
    // Outlined strokes keep their line width, so the bounds shrink a little
    // less than the paths.
    EXPECT_NEAR(placed.width, b.width / 2, 3);
    EXPECT_NEAR(placed.height, b.height / 2, 3);

    const auto junk = rig.doc.addVimoDocument("not a drawing", {0, 0}, 1);
    EXPECT_FALSE(junk);
    EXPECT_FALSE(junk.reason().empty());
    EXPECT_FALSE(rig.doc.addVimoDocument(data, {0, 0}, 0));
    EXPECT_EQ(rig.doc.strokes().count(), n + 1);
}

TEST(VimoDocumentTest, ReadingAFileReattachesUndoAndClearsTheSelection) {
    QFile file(VIMO_TEST_DATA_DIR "/documents/drawing.vimo");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    DocRig rig;
    rig.addFive();
    rig.doc.arrowTool();
    rig.doc.selectAll();
    ASSERT_TRUE(rig.doc.loadDataRepresentation(file.readAll(), DocumentFile::kDocumentType));
    EXPECT_TRUE(rig.doc.arrow().selection().empty());
    EXPECT_EQ(rig.doc.strokes().undoManager(), &rig.doc.undoManager());
    EXPECT_FALSE(rig.doc.undoManager().canUndo());

    const int count = rig.doc.strokes().count();
    rig.doc.deleteStrokes(); // nothing selected
    rig.doc.penTool();
    rig.doc.deleteStrokes();
    rig.view.redrawFrom.clear();
    rig.doc.undo();
    EXPECT_EQ(rig.doc.strokes().count(), count);
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{count - 1});
}
