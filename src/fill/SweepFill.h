#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Columns lo..hi of one row, both inclusive; empty when lo > hi.
struct ColumnSpan {
    static constexpr int kFar = 1 << 30;
    int lo = kFar;
    int hi = -kFar;

    bool empty() const { return lo > hi; }
    void add(int a, int b) {
        if (a < lo) lo = a;
        if (b > hi) hi = b;
    }
    void add(const ColumnSpan& other) {
        if (!other.empty()) add(other.lo, other.hi);
    }
    ColumnSpan shifted(int d) const { return empty() ? ColumnSpan{} : ColumnSpan{lo + d, hi + d}; }
};

// What the sweeps remember about one row between visits. A sweep fills a
// pixel only when a neighbour on its trailing side (below or left going
// forward, above or right going backward) is filled, so after a sweep has
// passed over some columns nothing there can change in the next sweep of the
// same direction unless a neighbour changed meanwhile. Rescanning only the
// changed neighbourhood and the columns that came into range gives exactly
// the pixels a full rescan would, in the same order.
struct SweepRow {
    ColumnSpan settledForward;       // columns the last forward visit left with nothing to fill
    ColumnSpan settledBackward;      // the same for the backward direction
    ColumnSpan changedSinceForward;  // pixels of this row filled since its last forward visit
    ColumnSpan changedSinceBackward; // ... since its last backward visit
};

// The inclusive bounds of the filled pixels.
struct FillBox {
    int minX, maxX, minY, maxY;
};

// The inclusive columns and rows the sweeps may reach, inside the bitmap.
struct FillLimits {
    int left, right, bottom, top;
};

// The scanning flood fill over a bitmap's words (rows stored top row first,
// pixel (x, y) at (height - 1 - y) * width + x). Starting from a filled seed
// it repeats a forward sweep (rows upward, columns rightward, a pixel joins
// when its lower or left neighbour is filled) and a backward sweep (rows
// downward, columns leftward, upper or right neighbour) over the growing
// bounding box plus one, until a pair of sweeps fills nothing. There is no
// queue or stack: only the mask and one small record per row.
//
// Match decides what counts as filled and which pixels may join (see
// TolerantMatch and ExactMatch); filling writes Match::color(), which must
// itself count as filled.
template <class Match> class SweepFill {
public:
    // rows has one entry per bitmap row, all empty; run() leaves it so.
    SweepFill(std::uint32_t* pixels, int width, int height, const Match& match,
              std::vector<SweepRow>& rows)
        : _pixels(pixels), _width(width), _height(height), _match(match), _rows(rows) {}

    // The seed pixel must already be written; returns the filled bounds.
    FillBox run(int sx, int sy, const FillLimits& limits);

private:
    struct Segment {
        int lo, hi;
    };
    // Up to three column ranges of one row, sorted and merged.
    struct Segments {
        Segment items[3];
        int count = 0;
        void add(int lo, int hi) {
            if (lo <= hi) items[count++] = {lo, hi};
        }
        void sortAndMerge();
    };
    struct RowScan {
        ColumnSpan filled;   // the pixels this visit filled
        ColumnSpan examined; // every column this visit looked at
    };

    bool forwardSweep();
    bool backwardSweep();
    bool scanForward(int y, int lo, int hi, RowScan& scan);
    void chainForward(int y, int lo, int hi, RowScan& scan);
    bool scanBackward(int y, int lo, int hi, RowScan& scan);
    void chainBackward(int y, int lo, int hi, RowScan& scan);
    void record(int y, int x, std::uint64_t bits, RowScan& scan);

    std::size_t rowIndex(int y) const { return std::size_t(_height - 1 - y) * std::size_t(_width); }

    std::uint32_t* _pixels;
    int _width;
    int _height;
    const Match& _match;
    std::vector<SweepRow>& _rows;
    FillLimits _limits{};
    FillBox _box{};
};

class TolerantMatch;
class ExactMatch;
extern template class SweepFill<TolerantMatch>;
extern template class SweepFill<ExactMatch>;
