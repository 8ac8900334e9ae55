#include "model/RewindBuffer.h"
#include "raster/Bitmap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using Counts = std::vector<int>;

// A one-pixel picture whose pixel tells which state a snapshot holds.
struct Draw {
    Bitmap bitmap{Size{1, 1}};
    const Bitmap& at(int n) {
        bitmap.at(0, 0) = std::uint32_t(n);
        return bitmap;
    }
    // Strokes added one by one, as drawing does.
    void add(RewindBuffer& buffer, int from, int to) {
        for (int n = from; n <= to; ++n) buffer.recordStroke(n, at(n));
    }
};

std::uint32_t mark(const RewindBuffer& buffer, int entry) {
    return buffer.entry(entry).bitmap()->at(0, 0);
}

TEST(RewindBuffer, AddedStrokesAreSpacedAndThinned) {
    RewindBuffer buffer;
    Draw draw;
    const std::pair<int, Counts> expected[] = {
        {9, {0}},
        {30, {0, 10, 20, 30}},
        {60, {0, 20, 40, 50, 60}},
        {200, {0, 80, 120, 140, 160, 180, 190, 200}},
    };
    int done = 0;
    for (const auto& [until, counts] : expected) {
        draw.add(buffer, done + 1, until);
        done = until;
        EXPECT_EQ(buffer.strokeCounts(), counts) << until;
    }
    // Each snapshot is a copy of the picture when it was taken.
    for (int i = 1; i < buffer.entryCount(); ++i)
        EXPECT_EQ(mark(buffer, i), std::uint32_t(buffer.entry(i).strokeCount()));
    // The number of snapshots grows about logarithmically.
    draw.add(buffer, 201, 100000);
    EXPECT_LE(buffer.entryCount(), int(std::log(10000.0) / std::log(1.5)) + 4);
    EXPECT_EQ(buffer.byteCount(), std::size_t(buffer.entryCount() - 1) * 4);
}

TEST(RewindBuffer, RewindingTrimmingAndReusingMemory) {
    RewindBuffer buffer;
    int k = 5;
    EXPECT_EQ(buffer.bitmapBeforeStroke(k), nullptr);
    EXPECT_EQ(k, 0);
    Draw draw;
    draw.add(buffer, 1, 60); // 0, 20, 40, 50, 60; at most five bitmaps at once
    k = 49;
    EXPECT_EQ(buffer.bitmapBeforeStroke(k)->at(0, 0), 40u);
    EXPECT_EQ(k, 40);
    buffer.removeStrokesRecordedAfter(45);
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 20, 40}));
    EXPECT_FALSE(buffer.wantsToRecordStroke(49)) << "spacing counts from the last entry left";
    EXPECT_TRUE(buffer.wantsToRecordStroke(50));

    // Dropped snapshots become spare memory for new ones, never more than the
    // buffer has held at once; the new snapshots hold the new pictures. A
    // redraw of a whole list crowds its snapshots towards the top.
    buffer.clear();
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0}));
    EXPECT_EQ(buffer.spareByteCount(), 5u * 4);
    for (int i = 0; i < 100; ++i) buffer.recordStroke(i, 100, draw.at(1000 + i));
    EXPECT_EQ(buffer.strokeCounts(), (Counts{0, 40, 66, 84, 96}));
    EXPECT_EQ(mark(buffer, 3), 1084u);
    EXPECT_EQ(buffer.spareByteCount(), 1u * 4);
    buffer.releaseSpareBitmaps();
    EXPECT_EQ(buffer.spareByteCount(), 0u);
}

} // namespace
