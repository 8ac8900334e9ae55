#include "model/Strokes.h"

#include "StrokesTestSupport.h"
#include "model/AffineTransform.h"
#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"
#include "model/RewindBuffer.h"
#include "model/UndoManager.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"

#include <QUndoStack>

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

namespace {

using StrokeArray = Strokes::StrokeArray;

class StrokesTest : public ::testing::Test {
protected:
    void SetUp() override { list.setUndoManager(&undo); }

    // A list of n unit-spaced opaque black squares, added as one step.
    void fill(int n) {
        for (int i = 0; i < n; ++i) list.addStroke(rectStroke(Rect{float(i) * 3, 0, 2, 2}));
        undo.endEventGroup();
        undo.removeAllActions();
    }
    std::vector<Stroke*> order() const {
        std::vector<Stroke*> out;
        for (const auto& s : list.strokeArray()) out.push_back(s.get());
        return out;
    }
    std::vector<Stroke*> order(std::initializer_list<int> original) const {
        std::vector<Stroke*> out;
        for (int i : original) out.push_back(start[std::size_t(i)]);
        return out;
    }
    void remember() { start = order(); }
    // Closes the user action and returns its undo name.
    std::string step() {
        undo.endEventGroup();
        return undo.undoActionName().toStdString();
    }

    UndoManager undo;
    Strokes list;
    std::vector<Stroke*> start;
};

TEST_F(StrokesTest, EditsAreNamedAndUndoToTheirStart) {
    auto a = rectStroke({0, 0, 1, 1});
    auto b = rectStroke({2, 0, 1, 1});
    auto c = rectStroke({4, 0, 1, 1});
    list.addStroke(a);
    EXPECT_EQ(step(), "Stroke");
    list.addStroke(b);
    list.addStroke(c);
    step();

    list.clear();
    EXPECT_EQ(step(), "Clear");
    EXPECT_EQ(list.count(), 0);
    undo.undo();
    ASSERT_EQ(list.count(), 3);
    EXPECT_EQ(list.strokeAtIndex(0), a);
    EXPECT_EQ(list.strokeAtIndex(1), b);
    EXPECT_EQ(list.strokeAtIndex(2), c);
    undo.redo();
    EXPECT_EQ(list.count(), 0);
    undo.undo();

    list.insertStroke(rectStroke({9, 9, 1, 1}), 1);
    EXPECT_EQ(step(), "Add Stroke");
    undo.undo();
    EXPECT_EQ(list.strokeAtIndex(1), b);

    list.removeStrokeAtIndex(0);
    EXPECT_EQ(step(), "Delete Stroke");
    undo.undo();
    EXPECT_EQ(list.strokeAtIndex(0), a);

    list.removeLastStroke();
    EXPECT_EQ(step(), "Delete Stroke");
    EXPECT_EQ(list.lastStroke(), b);
    undo.undo();
    EXPECT_EQ(list.lastStroke(), c);

    // Named by emptiness, not by count.
    list.removeStrokesInArray({b});
    EXPECT_EQ(step(), "Delete Strokes");
    EXPECT_EQ(list.count(), 2);
    undo.undo();
    EXPECT_EQ(list.strokeAtIndex(1), b);
    list.removeStrokesInArray({c, rectStroke({0, 0, 1, 1}), a});
    EXPECT_EQ(order(), (std::vector<Stroke*>{b.get()}));
    undo.undo();
    EXPECT_EQ(order(), (std::vector<Stroke*>{a.get(), b.get(), c.get()}));
    // Deleting nothing makes no step and renames none.
    const QString before = undo.undoActionName();
    const int steps = undo.undoStack().count();
    list.removeStrokesInArray({});
    undo.endEventGroup();
    EXPECT_EQ(undo.undoActionName(), before);
    EXPECT_EQ(undo.undoStack().count(), steps);

    Strokes empty;
    empty.setUndoManager(&undo);
    empty.removeLastStroke();
    undo.endEventGroup();
    EXPECT_EQ(undo.undoStack().count(), steps);
}

TEST_F(StrokesTest, TransformIsUndoneByTheInverse) {
    auto a = rectStroke({10, 10, 20, 20});
    auto b = rectStroke({0, 0, 4, 4});
    list.addStroke(a);
    list.addStroke(b);
    step();
    AffineTransform t;
    t.translateXBy(5, -3);
    t.scaleBy(2);
    list.transformStrokesInArray({a}, t);
    EXPECT_EQ(step(), "Move");
    EXPECT_EQ(a->bounds(), (Rect{25, 17, 40, 40}));
    EXPECT_EQ(b->bounds(), (Rect{0, 0, 4, 4}));
    undo.undo();
    EXPECT_EQ(a->bounds(), (Rect{10, 10, 20, 20}));
    undo.redo();
    EXPECT_EQ(a->bounds(), (Rect{25, 17, 40, 40}));
}

TEST_F(StrokesTest, EveryEditUpdatesTheVectorDrawMenuState) {
    RecordingMenuState menu;
    list.addStroke(rectStroke({0, 0, 1, 1}));
    list.addStroke(rectStroke({0, 0, 1, 1}, Color::red(), 7));
    list.removeLastStroke();
    list.insertStroke(rectStroke({0, 0, 1, 1}, Color::red(), 0, 0.5f), 0);
    list.clear();
    EXPECT_EQ(menu.calls, (std::vector<bool>{true, false, true, false, true}));
}

TEST_F(StrokesTest, Queries) {
    auto low = rectStroke({0, 0, 10, 10});
    auto high = rectStroke({5, 5, 10, 10}, Color::red(), 0, 0.5f);
    auto apart = rectStroke({50, 50, 2, 2});
    auto outside = rectStroke({0, 0, 1, 1});
    EXPECT_EQ(list.bounds(), Rect{});
    EXPECT_TRUE(list.canVectorDraw());
    EXPECT_EQ(list.lastStroke(), nullptr);
    list.addStroke(low);
    list.addStroke(high);
    list.addStroke(apart);

    EXPECT_EQ(list.bounds(), (Rect{0, 0, 52, 52}));
    EXPECT_FALSE(list.canVectorDraw());
    EXPECT_EQ(list.pickStrokeAtPoint({7, 7}), high);
    EXPECT_EQ(list.pickStrokeAtPoint({2, 2}), low);
    EXPECT_EQ(list.pickStrokeAtPoint({30, 30}), nullptr);
    EXPECT_EQ(list.strokesTouchingRect({9, 9, 2, 2}), (StrokeArray{low, high}));
    EXPECT_EQ(list.strokesEnclosedByRect({-1, -1, 13, 13}), (StrokeArray{low}));
    EXPECT_EQ(list.strokesEnclosedByRect({0, 0, 100, 100}), (StrokeArray{low, high, apart}));
    EXPECT_EQ(list.sortedStrokesInArray({apart, outside, low}), (StrokeArray{low, apart}));
    EXPECT_EQ(list.activeStrokesInArray({apart, outside, low}), (StrokeArray{apart, low}));
    EXPECT_EQ(list.minimumStrokeIndexInArray({apart, high}), 1);
    EXPECT_EQ(list.minimumStrokeIndexInArray({outside}), Strokes::NotFound);
    EXPECT_EQ(list.minimumStrokeIndexInArray({}), Strokes::NotFound);
}

TEST_F(StrokesTest, ZOrderMoves) {
    fill(5);
    remember();
    list.bringForward({list.strokeAtIndex(2)});
    EXPECT_EQ(order(), order({0, 1, 3, 2, 4}));
    EXPECT_EQ(step(), "Delete Stroke");
    undo.undo();
    EXPECT_EQ(order(), start);

    // Each move is one user action.
    auto move = [&](void (Strokes::*op)(const StrokeArray&), const StrokeArray& selection) {
        (list.*op)(selection);
        step();
    };
    move(&Strokes::bringForward, {list.strokeAtIndex(4)});
    EXPECT_EQ(order(), start);
    move(&Strokes::sendBackward, {list.strokeAtIndex(0)});
    EXPECT_EQ(order(), start);
    move(&Strokes::sendBackward, {list.strokeAtIndex(3)});
    EXPECT_EQ(order(), order({0, 1, 3, 2, 4}));
    move(&Strokes::sendBackward, {list.strokeAtIndex(3)}); // stroke 2, back again
    EXPECT_EQ(order(), start);

    // Scattered selections are gathered into one run in their old order.
    const StrokeArray scattered{list.strokeAtIndex(3), list.strokeAtIndex(0)};
    move(&Strokes::bringToFront, scattered);
    EXPECT_EQ(order(), order({1, 2, 4, 0, 3}));
    move(&Strokes::sendToBack, scattered);
    EXPECT_EQ(order(), order({0, 3, 1, 2, 4}));
    move(&Strokes::bringForward, scattered);
    EXPECT_EQ(order(), order({1, 0, 3, 2, 4}));
    const std::vector<Stroke*> beforeLast = order();
    move(&Strokes::sendBackward, {list.strokeAtIndex(4), list.strokeAtIndex(2)});
    EXPECT_EQ(order(), order({1, 3, 4, 0, 2}));
    EXPECT_EQ(undo.undoActionName().toStdString(), "Delete Stroke");
    list.bringToFront({});
    list.sendToBack({rectStroke({0, 0, 1, 1})});
    EXPECT_EQ(order(), order({1, 3, 4, 0, 2}));

    undo.undo();
    EXPECT_EQ(order(), beforeLast);
    for (int i = 0; i < 7; ++i) undo.undo();
    EXPECT_FALSE(undo.canUndo());
    EXPECT_EQ(order(), start);
}

TEST_F(StrokesTest, MergeKeepsTheFirstStrokesLookAndBoundsAndRemovesTheSources) {
    auto y = rectStroke({0, 0, 10, 10}, Color::blue());
    auto x = rectStroke({20, 20, 5, 5}, Color::red(), 3, 1);
    auto other = rectStroke({40, 0, 1, 1});
    list.addStroke(y);
    list.addStroke(other);
    list.addStroke(x);
    step();

    list.mergeStrokesInArray({x, rectStroke({0, 0, 1, 1}), y});
    EXPECT_EQ(step(), "Merge");
    ASSERT_EQ(list.count(), 2);
    EXPECT_EQ(list.strokeAtIndex(0), other);
    const auto merged = list.lastStroke();
    EXPECT_NE(merged, x);
    EXPECT_EQ(merged->color(), Color::red());
    EXPECT_EQ(merged->transferMode(), 3);
    EXPECT_EQ(merged->bounds(), (Rect{20, 20, 5, 5}));
    EXPECT_EQ(merged->bezierPath()->bounds(), (Rect{0, 0, 25, 25}));
    EXPECT_EQ(x->bezierPath()->bounds(), (Rect{20, 20, 5, 5})) << "the source is left alone";
    EXPECT_EQ(list.pickStrokeAtPoint({5, 5}), merged);

    undo.undo();
    EXPECT_EQ(order(), (std::vector<Stroke*>{y.get(), other.get(), x.get()}));
    undo.redo();
    EXPECT_EQ(list.lastStroke(), merged);

    list.mergeStrokesInArray({other});
    EXPECT_EQ(list.count(), 2);
    list.mergeTopTwoStrokes();
    EXPECT_EQ(list.count(), 1);
    EXPECT_EQ(list.lastStroke()->color(), Color::black());
    list.mergeTopTwoStrokes();
    EXPECT_EQ(list.count(), 1);
}

TEST_F(StrokesTest, DuplicateStacksDeepCopiesInListOrder) {
    fill(5);
    remember();
    list.duplicateStrokesInArray({list.strokeAtIndex(3), list.strokeAtIndex(1)});
    EXPECT_EQ(step(), "Duplicate");
    ASSERT_EQ(list.count(), 7);
    EXPECT_EQ(list.strokeAtIndex(5)->bounds(), start[1]->bounds());
    EXPECT_EQ(list.strokeAtIndex(6)->bounds(), start[3]->bounds());
    EXPECT_NE(list.strokeAtIndex(5).get(), start[1]);
    EXPECT_NE(list.strokeAtIndex(5)->bezierPath(), start[1]->bezierPath());
    undo.undo();
    EXPECT_EQ(order(), start);
    list.duplicateStrokesInArray({});
    EXPECT_EQ(list.count(), 5);
}

TEST_F(StrokesTest, ArchiveRoundTripDropsBadStrokesWithALogLine) {
    list.addStroke(rectStroke({0, 0, 3, 3}, Color::green(), 2, 0.5f));
    list.addStroke(Stroke::initWithBezierPath(nullptr, Color::red(), 0, 1));
    list.addStroke(rectStroke({5, 5, 1, 1}));
    list.addStroke(Stroke::initWithBezierPath(nullptr, Color::red(), 0, 1));

    LogCapture log;
    auto read = std::dynamic_pointer_cast<Strokes>(
        KeyedUnarchiver::unarchiveObjectWithData(KeyedArchiver::archivedDataWithRootObject(list)));
    ASSERT_NE(read, nullptr);
    ASSERT_EQ(read->count(), 2);
    EXPECT_EQ(read->strokeAtIndex(0)->bounds(), (Rect{0, 0, 3, 3}));
    EXPECT_EQ(read->strokeAtIndex(0)->transferMode(), 2);
    EXPECT_EQ(read->strokeAtIndex(1)->bounds(), (Rect{5, 5, 1, 1}));
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>(2, "Bad stroke found in save file -- ignoring.")));
}

// Redraw.

class StrokesRedrawTest : public StrokesTest {
protected:
    VimoCanvas canvas{Size{64, 48}};

    static int maxChannelDifference(const Bitmap& a, const Bitmap& b) {
        int worst = 0;
        for (int y = 0; y < a.height(); ++y)
            for (int x = 0; x < a.width(); ++x)
                for (int shift = 0; shift < 32; shift += 8) {
                    const int d =
                        int((a.at(x, y) >> shift) & 0xFF) - int((b.at(x, y) >> shift) & 0xFF);
                    worst = std::max(worst, std::abs(d));
                }
        return worst;
    }
    // Strokes of every kind the batching cares about, overlapping.
    void mixedDrawing(int n) {
        const Color colours[] = {Color::red(), Color::blue(), Color::green(), Color::black()};
        const int modes[] = {0, 0, 0, 1, 2, 3, 7, 0};
        for (int i = 0; i < n; ++i) {
            const float x = float((i * 7) % 50), y = float((i * 5) % 36);
            const float opacity = i % 9 == 4 ? 0.5f : 1.0f;
            const Color& c = colours[(i / 3) % 4];
            const int mode = modes[(i / 2) % 8];
            list.addStroke(i % 2
                               ? rectStroke({x, y, 12, 9}, c, mode, opacity)
                               : ovalStroke({x + 0.5f, y + 0.25f, 13.3f, 10.7f}, c, mode, opacity));
        }
    }
};

TEST_F(StrokesRedrawTest, OpaqueNormalStrokesAreCombinedInTwoTransfers) {
    for (int i = 0; i < 25; ++i) list.addStroke(rectStroke({float(i), float(i), 10, 10}));
    const Rect changed = list.drawInCanvas(canvas);
    EXPECT_EQ(list.lastRedrawStats().transfers, 2);
    EXPECT_EQ(list.lastRedrawStats().painted, 25);
    EXPECT_EQ(canvas.rewindBuffer().strokeCounts(), (std::vector<int>{0, 15}));
    EXPECT_EQ(changed, (Rect{0, 0, 34, 34}));
    EXPECT_EQ(canvas.drawBitmap().at(33, 33), BLACK);
    EXPECT_EQ(canvas.drawBitmap().at(34, 34), TRANSPARENT);
    EXPECT_EQ(canvas.previewBitmap().at(20, 20), BLACK);
    EXPECT_EQ(canvas.strokeBitmap().at(20, 20), TRANSPARENT);

    // A redraw of 100 strokes leaves snapshots crowding towards the top, each
    // labelled with the index last transferred.
    for (int i = 25; i < 100; ++i) list.addStroke(rectStroke({float(i % 40), 3, 10, 10}));
    list.drawInCanvas(canvas);
    EXPECT_EQ(canvas.rewindBuffer().strokeCounts(), (std::vector<int>{0, 40, 66, 84, 96}));
    EXPECT_EQ(list.lastRedrawStats().transfers, 5);
}

TEST_F(StrokesRedrawTest, BatchedRedrawPaintsWhatStrokesPaintOneByOne) {
    mixedDrawing(60);
    VimoCanvas oneByOne(canvas.size());
    for (const auto& s : list.strokeArray()) s->drawInCanvas(oneByOne);

    Rect marked;
    const Rect changed = list.drawInView(canvas, [&](const Rect& r) { marked = r; });
    EXPECT_EQ(marked, changed);
    EXPECT_TRUE(containsRect(changed, list.bounds()));
    EXPECT_LT(list.lastRedrawStats().transfers, 60);
    EXPECT_LE(maxChannelDifference(canvas.drawBitmap(), oneByOne.drawBitmap()), 2);
    EXPECT_EQ(maxChannelDifference(canvas.previewBitmap(), canvas.drawBitmap()), 0);
    EXPECT_EQ(maxChannelDifference(canvas.strokeBitmap(), VimoCanvas(canvas.size()).strokeBitmap()),
              0);
}

TEST_F(StrokesRedrawTest, RewindingAfterAnEditRepaintsOnlyTheTop) {
    // Strokes added one by one, as the document does it.
    mixedDrawing(200);
    for (int n = 1; n <= list.count(); ++n) {
        list.strokeAtIndex(n - 1)->drawInCanvas(canvas);
        canvas.recordRewindBufferStroke(n);
    }
    step();

    // Undo of the top stroke: rewind to just below it and repaint from there.
    undo.removeAllActions();
    list.removeLastStroke();
    const int from = canvas.rewindToBeforeStroke(list.count());
    list.drawInCanvas(canvas, from);
    EXPECT_LE(list.lastRedrawStats().painted, 11);

    VimoCanvas full(canvas.size());
    list.drawInCanvas(full);
    EXPECT_LE(maxChannelDifference(canvas.drawBitmap(), full.drawBitmap()), 2);
    EXPECT_EQ(maxChannelDifference(canvas.previewBitmap(), canvas.drawBitmap()), 0);
}

TEST_F(StrokesRedrawTest, StrokesOutsideNumbersAreSkippedAndLoggedOncePerRedraw) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    auto path = std::make_shared<BezierPath>();
    path->moveToPoint({nan, 1});
    path->lineToPoint({1, 5});
    path->lineToPoint({5, 9});
    path->closePath();
    list.addStroke(rectStroke({0, 0, 4, 4}));
    list.addStroke(Stroke::initWithBezierPath(path, Color::red(), 0, 1));
    list.addStroke(rectStroke({8, 8, 4, 4}, Color::blue()));

    LogCapture log;
    list.drawInCanvas(canvas);
    list.drawInCanvas(canvas, 1);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>(2, "Bad stroke found in drawing -- ignoring.")));
    EXPECT_EQ(list.lastRedrawStats().skipped, 1);
    EXPECT_EQ(canvas.drawBitmap().at(1, 1), BLACK);
    EXPECT_EQ(canvas.drawBitmap().at(9, 9), BLUE);
}

} // namespace
