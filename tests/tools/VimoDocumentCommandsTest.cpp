#include "model/AffineTransform.h"
#include "model/StrokesTestSupport.h"
#include "model/UndoManager.h"
#include "pens/Pen.h"
#include "support/ToolFixture.h"
#include "tools/ArrowTool.h"
#include "tools/StrokeClipboard.h"
#include "tools/VimoDocument.h"

#include <QFile>
#include <QMimeData>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

// Undo redraws, file reading, menu titles and the commands' behaviour on
// drawings too small for them.

namespace {

struct DocRig {
    DocRig() { doc.setMainView(&view); }
    ~DocRig() { doc.setMainView(nullptr); }

    // Five strokes side by side; the undo step that added them is closed.
    void addFive() {
        for (int i = 0; i < 5; ++i) {
            s.push_back(rectStroke({float(10 + 30 * i), 10, 20, 20}));
            doc.addStroke(s.back());
        }
        doc.undoManager().endEventGroup();
        view.redrawFrom.clear();
    }
    const Strokes::StrokeArray& list() { return doc.strokes().strokeArray(); }
    int lowestRedraw() const {
        return view.redrawFrom.empty()
                   ? -1
                   : *std::min_element(view.redrawFrom.begin(), view.redrawFrom.end());
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

TEST(VimoDocumentCommands, UndoAndRedoRedrawFromTheLowestChangedStroke) {
    DocRig rig;
    rig.addFive();
    rig.doc.arrowTool();
    rig.doc.arrow().setSelection({rig.s[2], rig.s[4]});
    rig.doc.deleteStrokes();
    rig.view.redrawFrom.clear();
    rig.doc.undo();
    EXPECT_EQ(rig.list(), rig.s);
    EXPECT_EQ(rig.lowestRedraw(), 2);

    rig.view.redrawFrom.clear();
    rig.doc.redo();
    EXPECT_EQ(rig.doc.strokes().count(), 3);
    EXPECT_EQ(rig.lowestRedraw(), 2);

    // Merging the top two and undoing it redraws from the lower of them.
    rig.doc.penTool();
    rig.doc.mergeStrokes();
    rig.view.redrawFrom.clear();
    rig.doc.undo();
    EXPECT_EQ(rig.list(), (Strokes::StrokeArray{rig.s[0], rig.s[1], rig.s[3]}));
    EXPECT_EQ(rig.lowestRedraw(), 1);
}

TEST(VimoDocumentCommands, EditedStateFollowsUndoRedoAndSave) {
    DocRig rig;
    int edited = 0;
    QObject::connect(&rig.doc, &VimoDocument::editedChanged, [&] { ++edited; });
    rig.addFive();
    EXPECT_TRUE(rig.doc.isDocumentEdited());
    EXPECT_GT(edited, 0);
    rig.doc.documentSaved();
    EXPECT_FALSE(rig.doc.isDocumentEdited());
    rig.doc.undo();
    EXPECT_TRUE(rig.doc.isDocumentEdited());
    rig.doc.redo();
    EXPECT_FALSE(rig.doc.isDocumentEdited());
}

TEST(VimoDocumentCommands, ReadingAFileReattachesUndoAndClearsTheSelection) {
    DocRig rig;
    rig.addFive();
    rig.doc.arrowTool();
    rig.doc.selectAll();
    ASSERT_TRUE(rig.doc.loadDataRepresentation(sampleDrawing(), DocumentFile::kDocumentType));
    EXPECT_TRUE(rig.doc.arrow().selection().empty());
    EXPECT_EQ(rig.doc.strokes().undoManager(), &rig.doc.undoManager());
    EXPECT_FALSE(rig.doc.undoManager().canUndo());

    // Edits of the new list are undone and redrawn as before.
    const int count = rig.doc.strokes().count();
    rig.doc.penTool();
    rig.doc.deleteStrokes();
    rig.view.redrawFrom.clear();
    rig.doc.undo();
    EXPECT_EQ(rig.doc.strokes().count(), count);
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{count - 1});
}

TEST(VimoDocumentCommands, PenSettingsFromMenuTitles) {
    DocRig rig;
    rig.doc.penOpacity("50%");
    EXPECT_FLOAT_EQ(rig.doc.pen().opacity(), 0.5f);
    rig.doc.penSize("12 pt");
    EXPECT_FLOAT_EQ(rig.doc.pen().radius(), 12);
    // A title without a number changes nothing.
    rig.doc.penOpacity("Opaque");
    rig.doc.penSize("");
    EXPECT_FLOAT_EQ(rig.doc.pen().opacity(), 0.5f);
    EXPECT_FLOAT_EQ(rig.doc.pen().radius(), 12);

    rig.doc.fillTool();
    rig.doc.setPenType("Pencil");
    EXPECT_EQ(rig.doc.tool(), &rig.doc.pen());
    EXPECT_EQ(rig.doc.pen().penTypeName(), "Pencil");
    rig.doc.setPenType("No such pen");
    EXPECT_EQ(rig.doc.pen().penTypeName(), "Pencil");
}

TEST(VimoDocumentCommands, CommandsOnTooFewStrokesChangeAndRedrawNothing) {
    DocRig rig;
    rig.doc.penTool();
    rig.doc.mergeStrokes();
    rig.doc.deleteStrokes();
    rig.doc.duplicate();
    EXPECT_TRUE(rig.view.redrawFrom.empty());
    rig.doc.addStroke(rectStroke({0, 0, 5, 5}));
    rig.view.redrawFrom.clear();
    rig.doc.mergeStrokes();
    EXPECT_EQ(rig.doc.strokes().count(), 1);
    EXPECT_TRUE(rig.view.redrawFrom.empty());

    // Clearing leaves the arrow tool no stroke that is gone.
    rig.doc.arrowTool();
    rig.doc.selectAll();
    rig.doc.clear();
    EXPECT_TRUE(rig.doc.arrow().selection().empty());
    EXPECT_EQ(rig.view.redrawFrom, std::vector<int>{0});
}

TEST(VimoDocumentCommands, ForeignOrDamagedClipboardDataIsNotPasted) {
    DocRig rig;
    QMimeData text;
    text.setText("strokes");
    EXPECT_FALSE(rig.doc.pasteMimeData(text));
    QMimeData junk;
    junk.setData(VimoDocument::kPasteboardType, "bplist00 not really");
    EXPECT_FALSE(rig.doc.pasteMimeData(junk));
    // A transform that flattens everything is refused.
    QMimeData flat;
    flat.setData(VimoDocument::kPasteboardType,
                 StrokeClipboard::archive({rectStroke({0, 0, 5, 5})}, {1, 0, 2, 0, 0, 0}));
    EXPECT_FALSE(rig.doc.pasteMimeData(flat));
    EXPECT_EQ(rig.doc.strokes().count(), 0);
}

TEST(VimoDocumentCommands, AddingADrawingRefusesBadInput) {
    DocRig rig;
    const QByteArray data = sampleDrawing();
    ASSERT_FALSE(data.isEmpty());
    for (const float scale : {0.0f, -1.0f, NAN, INFINITY})
        EXPECT_FALSE(rig.doc.addVimoDocument(data, {0, 0}, scale)) << scale;
    EXPECT_FALSE(rig.doc.addVimoDocument(data, {NAN, 0}, 1));
    const auto junk = rig.doc.addVimoDocument("not a drawing", {0, 0}, 1);
    EXPECT_FALSE(junk);
    EXPECT_FALSE(junk.reason().empty());
    EXPECT_EQ(rig.doc.strokes().count(), 0);
}
