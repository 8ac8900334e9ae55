#include "model/RewindBuffer.h"
#include "raster/Bitmap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using Counts = std::vector<int>;

// A tiny bitmap whose single pixel carries a number, so snapshots can be
// told apart.
struct Marked {
    Bitmap bitmap{Size{1, 1}};
    void mark(int n) { bitmap.at(0, 0) = std::uint32_t(n); }
};

// Adds strokes one by one, as drawing does, up to count.
void addStrokes(RewindBuffer& buffer, Marked& draw, int from, int to) {
    for (int n = from; n <= to; ++n) {
        draw.mark(n);
        buffer.recordStroke(n, draw.bitmap);
    }
}

TEST(RewindBuffer, AddingStrokesOneByOneThinsOlderSnapshots) {
    RewindBuffer buffer;
    Marked draw;
    addStrokes(buffer, draw, 1, 9);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0}));
    addStrokes(buffer, draw, 10, 30);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 10, 20, 30}));
    addStrokes(buffer, draw, 31, 40);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 20, 30, 40}));
    addStrokes(buffer, draw, 41, 60);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 20, 40, 50, 60}));
    addStrokes(buffer, draw, 61, 100);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 40, 60, 80, 90, 100}));
    addStrokes(buffer, draw, 101, 200);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 80, 120, 140, 160, 180, 190, 200}));

    // Every snapshot is a copy taken when it was recorded, not a view of the
    // live bitmap.
    EXPECT_EQ(buffer.entry(0).bitmap(), nullptr);
    for (int i = 1; i < buffer.entryCount(); ++i)
        EXPECT_EQ(buffer.entry(i).bitmap()->at(0, 0), std::uint32_t(buffer.entry(i).strokeCount()));
}

TEST(RewindBuffer, SnapshotCountGrowsLogarithmically) {
    RewindBuffer buffer;
    Marked draw;
    int previous = 0;
    for (int until : {1000, 10000, 100000}) {
        addStrokes(buffer, draw, previous + 1, until);
        previous = until;
        // Gaps grow by half at every kept entry: about log1.5(n / 10) + few.
        const double bound = std::log(until / 10.0) / std::log(1.5) + 4;
        EXPECT_LE(buffer.entryCount(), int(bound)) << until;
        EXPECT_EQ(buffer.strokeCounts().back(), until);
        EXPECT_EQ(buffer.byteCount(), std::size_t(buffer.entryCount() - 1) * 4);
    }
}

TEST(RewindBuffer, RedrawSnapshotsCrowdTowardsTheTop) {
    RewindBuffer fresh;
    EXPECT_FALSE(fresh.wantsToRecordStroke(14, 25));
    EXPECT_TRUE(fresh.wantsToRecordStroke(15, 25));

    RewindBuffer buffer;
    Marked draw;
    for (int i = 0; i < 100; ++i) {
        draw.mark(i);
        buffer.recordStroke(i, 100, draw.bitmap);
    }
    // No thinning during a redraw.
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 40, 66, 84, 96}));
    EXPECT_EQ(buffer.entry(2).bitmap()->at(0, 0), 66u);
}

TEST(RewindBuffer, BitmapBeforeStrokeTakesTheNewestSnapshotAtOrBelow) {
    RewindBuffer buffer;
    int k = 5;
    EXPECT_EQ(buffer.bitmapBeforeStroke(k), nullptr);
    EXPECT_EQ(k, 0);

    Marked draw;
    addStrokes(buffer, draw, 1, 30);
    k = 29;
    const Bitmap* b = buffer.bitmapBeforeStroke(k);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(k, 20);
    EXPECT_EQ(b->at(0, 0), 20u);
    k = 30;
    EXPECT_EQ(buffer.bitmapBeforeStroke(k)->at(0, 0), 30u);
    EXPECT_EQ(k, 30);
    k = 1000;
    buffer.bitmapBeforeStroke(k);
    EXPECT_EQ(k, 30);
    k = 9;
    EXPECT_EQ(buffer.bitmapBeforeStroke(k), nullptr);
    EXPECT_EQ(k, 0);
}

TEST(RewindBuffer, TrimmingAndClearingKeepEntryZero) {
    RewindBuffer buffer;
    buffer.clear();
    buffer.removeStrokesRecordedAfter(0);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0}));

    Marked draw;
    addStrokes(buffer, draw, 1, 60);
    buffer.removeStrokesRecordedAfter(45);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 20, 40}));
    buffer.removeStrokesRecordedAfter(40);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 20, 40}));
    buffer.removeStrokesRecordedAfter(0);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0}));

    addStrokes(buffer, draw, 1, 30);
    buffer.clear();
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0}));
    EXPECT_EQ(buffer.byteCount(), 0u);
    // Dropped snapshots are kept as memory for new ones, never more than
    // the buffer has held at once (here 20, 30, 40, 50 and 60).
    EXPECT_EQ(buffer.spareByteCount(), 5u * 4);
    for (int i = 0; i < 100; ++i) {
        draw.mark(1000 + i);
        buffer.recordStroke(i, 100, draw.bitmap);
    }
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 40, 66, 84, 96}));
    EXPECT_EQ(buffer.entry(3).bitmap()->at(0, 0), 1084u);
    EXPECT_EQ(buffer.spareByteCount(), 1u * 4);
    buffer.releaseSpareBitmaps();
    EXPECT_EQ(buffer.spareByteCount(), 0u);
    buffer.clear();
    // Spacing after a trim counts from the last entry left.
    EXPECT_FALSE(buffer.wantsToRecordStroke(9));
    EXPECT_TRUE(buffer.wantsToRecordStroke(10));
}

} // namespace
