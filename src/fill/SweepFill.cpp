#include "fill/SweepFill.h"

#include "fill/ExactMatch.h"
#include "fill/PixelBlocks.h"
#include "fill/TolerantMatch.h"

#include <algorithm>
#include <bit>

using pixelblocks::lowBits;

template <class Match> void SweepFill<Match>::Segments::sortAndMerge() {
    std::sort(items, items + count, [](const Segment& a, const Segment& b) { return a.lo < b.lo; });
    int out = 0;
    for (int i = 0; i < count; ++i) {
        if (out > 0 && items[i].lo <= items[out - 1].hi + 1)
            items[out - 1].hi = std::max(items[out - 1].hi, items[i].hi);
        else
            items[out++] = items[i];
    }
    count = out;
}

template <class Match> FillBox SweepFill<Match>::run(int sx, int sy, const FillLimits& limits) {
    _limits = limits;
    _box = {sx, sx, sy, sy};
    for (;;) {
        const bool forward = forwardSweep();
        const bool backward = backwardSweep();
        if (!forward && !backward) break;
    }
    // The sweeps touched the records of the box's rows and the one on
    // either side; hand them back empty for the next fill.
    const int y0 = std::max(_box.minY - 1, 0);
    const int y1 = std::min(_box.maxY + 1, _height - 1);
    std::fill(_rows.begin() + y0, _rows.begin() + y1 + 1, SweepRow{});
    return _box;
}

template <class Match>
void SweepFill<Match>::record(int y, int x, std::uint64_t bits, RowScan& scan) {
    pixelblocks::writeBits(_pixels + rowIndex(y) + x, bits, _match.color());
    scan.filled.add(x + std::countr_zero(bits), x + 63 - std::countl_zero(bits));
}

// Forward: rows upward from minY while y <= min(maxY + 1, top); in each row
// the columns from minX while x <= min(maxX + 1, right). Past the row's
// starting range a pixel is only reached through its left neighbour having
// just been filled, which the chained scan follows.
template <class Match> bool SweepFill<Match>::forwardSweep() {
    bool changed = false;
    // Pixels of the row below filled since the current row's last forward visit.
    ColumnSpan below =
        _box.minY > 0 ? _rows[std::size_t(_box.minY - 1)].changedSinceForward : ColumnSpan{};
    for (int y = _box.minY; y <= std::min(_box.maxY + 1, _limits.top); ++y) {
        SweepRow& row = _rows[std::size_t(y)];
        const ColumnSpan own = row.changedSinceForward;
        const int lo = _box.minX;
        const int hi = std::min(_box.maxX + 1, _limits.right);
        if (lo > hi) {
            below = own;
            continue;
        }
        Segments todo;
        const ColumnSpan settled = row.settledForward;
        if (settled.empty()) {
            todo.add(lo, hi);
        } else {
            todo.add(lo, std::min(settled.lo - 1, hi));
            todo.add(std::max(settled.hi + 1, lo), hi);
            ColumnSpan touched = below;
            touched.add(own.shifted(1));
            todo.add(std::max(touched.lo, lo), std::min(touched.hi, hi));
        }
        todo.sortAndMerge();

        RowScan scan;
        bool chained = false;
        int next = lo;
        for (int i = 0; i < todo.count; ++i) {
            const Segment s = todo.items[i];
            if (chained) chainForward(y, next, s.lo - 1, scan);
            chained = scanForward(y, s.lo, s.hi, scan);
            next = s.hi + 1;
        }
        if (chained) chainForward(y, next, _limits.right, scan);

        row.settledForward = {lo, std::max(hi, scan.examined.hi)};
        row.changedSinceForward = {};
        below = own;
        below.add(scan.filled);
        if (!scan.filled.empty()) {
            changed = true;
            row.changedSinceBackward.add(scan.filled);
            _box.maxX = std::max(_box.maxX, scan.filled.hi);
            _box.maxY = std::max(_box.maxY, y);
        }
    }
    return changed;
}

// Backward: rows downward from maxY while y >= max(minY - 1, bottom); in
// each row the columns from maxX while x >= max(minX - 1, left).
template <class Match> bool SweepFill<Match>::backwardSweep() {
    bool changed = false;
    ColumnSpan above = _box.maxY + 1 < _height
                           ? _rows[std::size_t(_box.maxY + 1)].changedSinceBackward
                           : ColumnSpan{};
    for (int y = _box.maxY; y >= std::max(_box.minY - 1, _limits.bottom); --y) {
        SweepRow& row = _rows[std::size_t(y)];
        const ColumnSpan own = row.changedSinceBackward;
        const int lo = std::max(_box.minX - 1, _limits.left);
        const int hi = _box.maxX;
        if (lo > hi) {
            above = own;
            continue;
        }
        Segments todo;
        const ColumnSpan settled = row.settledBackward;
        if (settled.empty()) {
            todo.add(lo, hi);
        } else {
            todo.add(lo, std::min(settled.lo - 1, hi));
            todo.add(std::max(settled.hi + 1, lo), hi);
            ColumnSpan touched = above;
            touched.add(own.shifted(-1));
            todo.add(std::max(touched.lo, lo), std::min(touched.hi, hi));
        }
        todo.sortAndMerge();

        RowScan scan;
        bool chained = false;
        int next = hi;
        for (int i = todo.count - 1; i >= 0; --i) {
            const Segment s = todo.items[i];
            if (chained) chainBackward(y, s.hi + 1, next, scan);
            chained = scanBackward(y, s.lo, s.hi, scan);
            next = s.lo - 1;
        }
        if (chained) chainBackward(y, _limits.left, next, scan);

        row.settledBackward = {std::min(lo, scan.examined.lo), hi};
        row.changedSinceBackward = {};
        above = own;
        above.add(scan.filled);
        if (!scan.filled.empty()) {
            changed = true;
            row.changedSinceForward.add(scan.filled);
            _box.minX = std::min(_box.minX, scan.filled.lo);
            _box.minY = std::min(_box.minY, y);
        }
    }
    return changed;
}

// Columns lo..hi of row y, rightward, 64 at a time: a pixel joins when it is
// open (not filled, and accepted) and its lower or left neighbour is filled,
// the left one possibly just now. Answers whether pixel hi was filled.
template <class Match> bool SweepFill<Match>::scanForward(int y, int lo, int hi, RowScan& scan) {
    const std::uint32_t* row = _pixels + rowIndex(y);
    const std::uint32_t* under = y > 0 ? row + _width : nullptr;
    bool left = lo > 0 && _match.isFilled(row[lo - 1]);
    bool lastFilled = false;
    for (int x = lo; x <= hi; x += 64) {
        const int n = std::min(64, hi - x + 1);
        const std::uint64_t filled = ~_match.unfilledBits(row + x, n) & lowBits(n);
        const std::uint64_t unfilled = ~filled & lowBits(n);
        std::uint64_t grown = 0;
        if (unfilled) {
            std::uint64_t reach = (filled << 1) | std::uint64_t(left);
            if (under) reach |= ~_match.unfilledBits(under + x, n);
            reach &= unfilled;
            if (reach) {
                const std::uint64_t open =
                    unfilled & _match.acceptedBits(rowIndex(y) + std::size_t(x), n);
                grown = pixelblocks::spreadUp(reach & open, open);
                if (grown) record(y, x, grown, scan);
            }
        }
        left = ((filled | grown) >> (n - 1)) & 1;
        lastFilled = (grown >> (n - 1)) & 1;
    }
    scan.examined.add(lo, hi);
    return lastFilled;
}

// Continues rightward from lo, whose left neighbour was just filled, while
// pixels are open; stops at the first that is not (or after hi).
template <class Match> void SweepFill<Match>::chainForward(int y, int lo, int hi, RowScan& scan) {
    if (lo > hi) return;
    const std::uint32_t* row = _pixels + rowIndex(y);
    for (int x = lo; x <= hi; x += 64) {
        const int n = std::min(64, hi - x + 1);
        const std::uint64_t unfilled = _match.unfilledBits(row + x, n);
        const std::uint64_t open =
            (unfilled & 1) ? unfilled & _match.acceptedBits(rowIndex(y) + std::size_t(x), n) : 0;
        const std::uint64_t run = open & ~(open + 1); // the open bits from bit 0 up
        if (run) record(y, x, run, scan);
        if (run != lowBits(n)) {
            scan.examined.add(lo, x + std::popcount(run));
            return;
        }
    }
    scan.examined.add(lo, hi);
}

// Columns hi down to lo of row y, leftward: a pixel joins when it is open
// and its upper or right neighbour is filled. Answers whether pixel lo was
// filled.
template <class Match> bool SweepFill<Match>::scanBackward(int y, int lo, int hi, RowScan& scan) {
    const std::uint32_t* row = _pixels + rowIndex(y);
    const std::uint32_t* over = y < _height - 1 ? row - _width : nullptr;
    bool right = hi < _width - 1 && _match.isFilled(row[hi + 1]);
    bool firstFilled = false;
    for (int end = hi; end >= lo; end -= 64) {
        const int n = std::min(64, end - lo + 1);
        const int x = end - n + 1;
        const std::uint64_t filled = ~_match.unfilledBits(row + x, n) & lowBits(n);
        const std::uint64_t unfilled = ~filled & lowBits(n);
        std::uint64_t grown = 0;
        if (unfilled) {
            std::uint64_t reach = (filled >> 1) | (std::uint64_t(right) << (n - 1));
            if (over) reach |= ~_match.unfilledBits(over + x, n);
            reach &= unfilled;
            if (reach) {
                const std::uint64_t open =
                    unfilled & _match.acceptedBits(rowIndex(y) + std::size_t(x), n);
                grown = pixelblocks::spreadDown(reach & open, open);
                if (grown) record(y, x, grown, scan);
            }
        }
        right = (filled | grown) & 1;
        firstFilled = grown & 1;
    }
    scan.examined.add(lo, hi);
    return firstFilled;
}

// Continues leftward from hi, whose right neighbour was just filled, while
// pixels are open; stops at the first that is not (or before lo).
template <class Match> void SweepFill<Match>::chainBackward(int y, int lo, int hi, RowScan& scan) {
    if (lo > hi) return;
    const std::uint32_t* row = _pixels + rowIndex(y);
    for (int end = hi; end >= lo; end -= 64) {
        const int n = std::min(64, end - lo + 1);
        const int x = end - n + 1;
        const std::uint64_t unfilled = _match.unfilledBits(row + x, n);
        const std::uint64_t open =
            ((unfilled >> (n - 1)) & 1)
                ? unfilled & _match.acceptedBits(rowIndex(y) + std::size_t(x), n)
                : 0;
        const int k = std::countl_one(open << (64 - n)); // the open bits from bit n - 1 down
        if (k > 0) record(y, x, lowBits(k) << (n - k), scan);
        if (k < n) {
            scan.examined.add(end - k, hi);
            return;
        }
    }
    scan.examined.add(lo, hi);
}

template class SweepFill<TolerantMatch>;
template class SweepFill<ExactMatch>;
