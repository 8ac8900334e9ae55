#include "model/Strokes.h"

#include "StrokesTestSupport.h"
#include "model/AffineTransform.h"
#include "model/RewindBuffer.h"
#include "model/UndoManager.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

namespace {

using StrokeArray = Strokes::StrokeArray;
using Order = std::vector<Stroke*>;

class StrokesTest : public ::testing::Test {
protected:
    void SetUp() override { list.setUndoManager(&undo); }

    void fill(int n) {
        for (int i = 0; i < n; ++i) list.addStroke(rectStroke(Rect{float(i) * 3, 0, 2, 2}));
        undo.removeAllActions();
        start = order();
    }
    Order order() const {
        Order out;
        for (const auto& s : list.strokeArray()) out.push_back(s.get());
        return out;
    }
    Order order(std::initializer_list<int> original) const {
        Order out;
        for (int i : original) out.push_back(start[std::size_t(i)]);
        return out;
    }
    // Ends the user action; its undo name.
    std::string step() {
        undo.endEventGroup();
        return undo.undoActionName().toStdString();
    }

    UndoManager undo;
    Strokes list;
    Order start;
};

// Each edit, its undo and redo, its name and the menu state it reports are
// checked by the undo manager's random test.
TEST_F(StrokesTest, Queries) {
    auto low = rectStroke({0, 0, 10, 10}), high = rectStroke({5, 5, 10, 10}),
         apart = rectStroke({50, 50, 2, 2}), outside = rectStroke({0, 0, 1, 1});
    for (const auto& s : {low, high, apart}) list.addStroke(s);
    EXPECT_EQ(list.bounds(), (Rect{0, 0, 52, 52}));
    EXPECT_EQ(list.pickStrokeAtPoint({7, 7}), high) << "the topmost";
    EXPECT_EQ(list.pickStrokeAtPoint({30, 30}), nullptr);
    EXPECT_EQ(list.strokesTouchingRect({9, 9, 2, 2}), (StrokeArray{low, high}));
    EXPECT_EQ(list.strokesEnclosedByRect({-1, -1, 13, 13}), (StrokeArray{low}));
    EXPECT_EQ(list.sortedStrokesInArray({apart, outside, low}), (StrokeArray{low, apart}));
    EXPECT_EQ(list.minimumStrokeIndexInArray({apart, high}), 1);
}

TEST_F(StrokesTest, ZOrderMovesGatherTheSelectionAsOneNamedStepEach) {
    fill(5);
    using Move = void (Strokes::*)(const StrokeArray&);
    const std::tuple<Move, std::vector<int>, Order> moves[] = {
        {&Strokes::bringForward, {2}, order({0, 1, 3, 2, 4})},
        {&Strokes::bringForward, {4}, order({0, 1, 3, 2, 4})},
        {&Strokes::sendBackward, {0}, order({0, 1, 3, 2, 4})},
        {&Strokes::sendBackward, {3}, order({0, 1, 2, 3, 4})},
        {&Strokes::bringToFront, {3, 0}, order({1, 2, 4, 0, 3})},
        {&Strokes::sendToBack, {3, 4}, order({0, 3, 1, 2, 4})},
        {&Strokes::bringForward, {0, 1}, order({1, 0, 3, 2, 4})},
        {&Strokes::sendBackward, {4, 2}, order({1, 3, 4, 0, 2})},
    };
    int n = 0;
    for (const auto& [move, indexes, expected] : moves) {
        StrokeArray selection;
        for (int i : indexes) selection.push_back(list.strokeAtIndex(i));
        (list.*move)(selection);
        EXPECT_EQ(order(), expected) << n++;
        EXPECT_EQ(step(), "Delete Stroke");
    }
    list.bringToFront({});
    list.sendToBack({rectStroke({0, 0, 1, 1})});
    EXPECT_EQ(order(), std::get<2>(moves[7]));
}

TEST_F(StrokesTest, MergeAndDuplicateWorkOnDeepCopies) {
    auto y = rectStroke({0, 0, 10, 10}, Color::blue());
    auto x = rectStroke({20, 20, 5, 5}, Color::red(), 3);
    auto other = rectStroke({40, 0, 1, 1});
    for (const auto& s : {y, other, x}) list.addStroke(s);
    step();

    list.mergeStrokesInArray({x, rectStroke({0, 0, 1, 1}), y});
    EXPECT_EQ(step(), "Merge");
    ASSERT_EQ(list.count(), 2);
    const auto merged = list.lastStroke();
    EXPECT_EQ(list.strokeAtIndex(0), other);
    EXPECT_EQ(merged->color(), Color::red());
    EXPECT_EQ(merged->transferMode(), 3);
    EXPECT_EQ(merged->bounds(), x->bounds()) << "bounds stay the first stroke's";
    EXPECT_EQ(merged->bezierPath()->bounds(), (Rect{0, 0, 25, 25}));
    EXPECT_EQ(x->bezierPath()->bounds(), (Rect{20, 20, 5, 5})) << "the source is left alone";
    undo.undo();
    list.mergeStrokesInArray({other});
    EXPECT_EQ(list.count(), 3);

    list.duplicateStrokesInArray({x, y});
    EXPECT_EQ(step(), "Duplicate");
    ASSERT_EQ(list.count(), 5);
    EXPECT_EQ(list.strokeAtIndex(3)->bounds(), y->bounds()) << "copies follow list order";
    EXPECT_EQ(list.strokeAtIndex(4)->bounds(), x->bounds());
    EXPECT_NE(list.strokeAtIndex(3)->bezierPath(), y->bezierPath());
}

class StrokesRedrawTest : public StrokesTest {
protected:
    VimoCanvas canvas{Size{64, 48}};

    static int maxChannelDifference(const Bitmap& a, const Bitmap& b) {
        int worst = 0;
        const auto* p = reinterpret_cast<const std::uint8_t*>(a.pixels());
        const auto* q = reinterpret_cast<const std::uint8_t*>(b.pixels());
        for (int i = 0; i < a.width() * a.height() * 4; ++i)
            worst = std::max(worst, std::abs(p[i] - q[i]));
        return worst;
    }
    // Overlapping strokes of every kind batching cares about.
    void mixedDrawing(int n) {
        const Color colours[] = {Color::red(), Color::blue(), Color::green(), Color::black()};
        const int modes[] = {0, 0, 0, 1, 2, 3, 7, 0};
        for (int i = 0; i < n; ++i)
            list.addStroke(rectStroke(
                {float((i * 7) % 50) + 0.5f, float((i * 5) % 36) + 0.25f, 12.3f, 9.7f},
                colours[(i / 3) % 4], modes[(i / 2) % 8], i % 9 == 4 ? 0.5f : 1.0f, i % 2 == 0));
    }
};

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
    // Snapshots spaced as for a redraw of 60, not as for strokes added one by one.
    EXPECT_EQ(canvas.rewindBuffer().strokeCounts(), (std::vector<int>{0, 26, 44, 56}));
}

TEST_F(StrokesRedrawTest, UndoOfTheTopStrokeRepaintsOnlyTheTop) {
    mixedDrawing(200);
    for (int n = 1; n <= list.count(); ++n) {
        list.strokeAtIndex(n - 1)->drawInCanvas(canvas);
        canvas.recordRewindBufferStroke(n);
    }
    list.removeLastStroke();
    list.drawInCanvas(canvas, canvas.rewindToBeforeStroke(list.count()));
    EXPECT_LE(list.lastRedrawStats().painted, 11);
    VimoCanvas full(canvas.size());
    list.drawInCanvas(full);
    EXPECT_LE(maxChannelDifference(canvas.drawBitmap(), full.drawBitmap()), 2);
}

TEST_F(StrokesRedrawTest, StrokesOutsideNumbersAreSkippedAndLoggedOncePerRedraw) {
    auto path = std::make_shared<BezierPath>();
    path->moveToPoint({std::numeric_limits<float>::quiet_NaN(), 1});
    path->lineToPoint({1, 5});
    path->lineToPoint({5, 9});
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
