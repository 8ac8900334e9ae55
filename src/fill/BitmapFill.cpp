#include "fill/BitmapFill.h"

#include "fill/ExactMatch.h"
#include "fill/PixelBlocks.h"
#include "fill/SweepFill.h"
#include "fill/TolerantMatch.h"
#include "raster/Assert.h"

#include <bit>
#include <cmath>

namespace {

// Truncates toward zero and clamps into lo..hi (lo <= hi); NaN gives lo.
int truncClamp(float v, int lo, int hi) {
    if (!(v >= float(lo))) return lo;
    if (v >= float(hi)) return hi;
    return static_cast<int>(std::trunc(v));
}

Rect boxRect(const FillBox& b) {
    return Rect{float(b.minX), float(b.minY), float(b.maxX - b.minX + 1),
                float(b.maxY - b.minY + 1)};
}

} // namespace

BitmapFill::BitmapFill(Bitmap& bitmap)
    : _width(bitmap.width()), _height(bitmap.height()), _pixels(bitmap.pixels()) {}

Rect BitmapFill::floodFill(const Bitmap& reference, Point seed, std::uint32_t color,
                           float tolerance) {
    const Extent other{reference.width(), reference.height()};
    const Extent* bm = &other;
    VIMO_ASSERT(_width == bm->_width && _height == bm->_height);
    if (_width == 0 || _height == 0) return Rect{};

    const int sx = truncClamp(seed.x, 0, _width - 1);
    const int sy = truncClamp(seed.y, 0, _height - 1);
    const std::uint32_t seedColor = reference.pixels()[indexOf(sx, sy)];
    _pixels[indexOf(sx, sy)] = color;
    // A pixel written with an unfilled colour would never count as filled,
    // so nothing could spread from it.
    if (!isFilled(color)) return Rect{float(sx), float(sy), 1, 1};

    const TolerantMatch match(reference.pixels(), seedColor,
                              TolerantMatch::maxDistanceFor(tolerance), color);
    std::vector<SweepRow> rows(static_cast<std::size_t>(_height));
    SweepFill<TolerantMatch> fill(_pixels, _width, _height, match, rows);
    return boxRect(fill.run(sx, sy, FillLimits{0, _width - 1, 0, _height - 1}));
}

void BitmapFill::floodFillAt(Point seed, std::uint32_t color, const Rect& limit) {
    std::vector<SweepRow> rows(static_cast<std::size_t>(_height));
    floodFillAt(seed, color, limit, rows);
}

void BitmapFill::floodFillAt(Point seed, std::uint32_t color, const Rect& limit,
                             std::vector<SweepRow>& rows) {
    if (_width == 0 || _height == 0) return;
    const int sx = truncClamp(seed.x, 0, _width - 1);
    const int sy = truncClamp(seed.y, 0, _height - 1);
    const std::uint32_t old = _pixels[indexOf(sx, sy)];
    _pixels[indexOf(sx, sy)] = color;
    if (old == color) return;

    const FillLimits limits{
        truncClamp(limit.x, 0, _width - 1), truncClamp(limit.x + limit.width, 0, _width - 1),
        truncClamp(limit.y, 0, _height - 1), truncClamp(limit.y + limit.height, 0, _height - 1)};
    const ExactMatch match(_pixels, old, color);
    SweepFill<ExactMatch> fill(_pixels, _width, _height, match, rows);
    fill.run(sx, sy, limits);
}

void BitmapFill::expand(const Rect& area, std::uint32_t color) {
    if (_width == 0 || _height == 0) return;
    const int x0 = truncClamp(area.x - 1, 0, _width - 1);
    const int x1 = truncClamp(area.x + area.width + 2, 0, _width - 1);
    const int y0 = truncClamp(area.y - 1, 0, _height - 1);
    const int y1 = truncClamp(area.y + area.height + 2, 0, _height - 1);

    // Only the diagonal neighbours count, and only those inside columns
    // 0 .. width - 2 and rows 0 .. height - 2.
    auto counts = [&](int x, int y) {
        return x >= 0 && x <= _width - 2 && y >= 0 && y <= _height - 2 &&
               isFilled(_pixels[indexOf(x, y)]);
    };
    for (int y = y0; y <= y1; ++y) {
        std::uint32_t* row = _pixels + indexOf(0, y);
        for (int x = x0; x <= x1; ++x) {
            if (row[x] != 0) continue;
            if (counts(x - 1, y - 1) || counts(x + 1, y - 1) || counts(x - 1, y + 1) ||
                counts(x + 1, y + 1))
                row[x] = EXPAND_MARK;
        }
    }
    for (int y = y0; y <= y1; ++y) {
        std::uint32_t* row = _pixels + indexOf(0, y);
        for (int x = x0; x <= x1; ++x)
            if (row[x] == EXPAND_MARK) row[x] = color;
    }
}

void BitmapFill::findHolesInRect(const Rect& area, std::vector<Point>& holes) {
    if (_width == 0 || _height == 0) return;
    const int x0 = truncClamp(area.x, 0, _width - 1);
    const int x1 = truncClamp(area.x + area.width, 0, _width - 1);
    const int y0 = truncClamp(area.y, 0, _height - 1);
    const int y1 = truncClamp(area.y + area.height, 0, _height - 1);
    const Rect limit{float(x0), float(y0), float(x1 - x0), float(y1 - y0)};
    std::vector<SweepRow> rows(static_cast<std::size_t>(_height));

    // The unfilled area around the limit's corners is outside, not a hole.
    const int corners[4][2] = {{x0, y0}, {x0, y1}, {x1, y0}, {x1, y1}};
    for (const auto& c : corners)
        if (!isFilled(_pixels[indexOf(c[0], c[1])]))
            floodFillAt(Point{float(c[0]), float(c[1])}, HOLE_MARK, limit, rows);

    for (int y = y0; y <= y1; ++y) {
        const std::uint32_t* row = _pixels + indexOf(0, y);
        int x = x0;
        while (x <= x1) {
            const int n = std::min(64, x1 - x + 1);
            const std::uint64_t unfilled = pixelblocks::alphaZeroBits(row + x, n);
            if (!unfilled) {
                x += n;
                continue;
            }
            x += std::countr_zero(unfilled);
            holes.push_back(Point{float(x), float(y)});
            floodFillAt(Point{float(x), float(y)}, HOLE_MARK, limit, rows);
            ++x;
        }
    }
}

std::int64_t BitmapFill::pixel(const BitmapFill* self, const std::uint32_t* selfpx, int x, int y) {
    if (x < 0 || y < 0 || x >= self->_width || y >= self->_height) return -1;
    return selfpx[self->indexOf(x, y)];
}

void BitmapFill::clockwiseOutlineFrom(Point start, std::vector<Point>& outline) const {
    if (_width == 0 || _height == 0) return;
    const BitmapFill* self = this;
    const std::uint32_t* selfpx = _pixels;
    const int sx = truncClamp(start.x, 0, _width - 1);
    const int sy = truncClamp(start.y, 0, _height - 1);
    const std::uint32_t c = _pixels[indexOf(sx, sy)];

    enum Direction { East, West, South, North };
    // The walk is a fixed function of (corner, direction), so a state that
    // comes round again without passing the start corner would repeat for
    // ever; that only happens from a start that is not on the region's
    // lower boundary. Checkpoints at doubling distances catch it.
    struct State {
        int x, y;
        Direction d;
        bool operator==(const State&) const = default;
    };
    State checkpoint{sx + 1, sy, East};
    std::size_t sinceCheckpoint = 0, checkpointSpacing = 1;

    int x = sx + 1, y = sy;
    Direction d = East;
    for (;;) {
        outline.push_back(Point{float(x), float(y)});
        // Around corner (x, y): upper left (x - 1, y), upper right (x, y),
        // lower left (x - 1, y - 1), lower right (x, y - 1). The region stays
        // on the left: turn right when both pixels ahead are in it, go
        // straight when only the one ahead on the left is, else turn left.
        // clang-format off
        switch (d) {
        case East:
            VIMO_ASSERT(pixel(self,selfpx,x-1,y) == c);
            if (pixel(self, selfpx, x, y) == c && pixel(self, selfpx, x, y - 1) == c) { --y; d = South; }
            else if (pixel(self, selfpx, x, y) != c) { ++y; d = North; }
            else ++x;
            break;
        case North:
            VIMO_ASSERT(pixel(self,selfpx,x-1,y-1)==c);
            if (pixel(self, selfpx, x, y) == c && pixel(self, selfpx, x - 1, y) == c) { ++x; d = East; }
            else if (pixel(self, selfpx, x - 1, y) == c) ++y;
            else { --x; d = West; }
            break;
        case West:
            VIMO_ASSERT(pixel(self,selfpx,x,y-1)==c);
            if (pixel(self, selfpx, x - 1, y - 1) == c && pixel(self, selfpx, x - 1, y) == c) { ++y; d = North; }
            else if (pixel(self, selfpx, x - 1, y - 1) == c) --x;
            else { --y; d = South; }
            break;
        case South:
            VIMO_ASSERT(pixel(self,selfpx,x,y) == c);
            if (pixel(self, selfpx, x, y - 1) == c && pixel(self, selfpx, x - 1, y - 1) == c) { --x; d = West; }
            else if (pixel(self, selfpx, x, y - 1) == c) --y;
            else { ++x; d = East; }
            break;
        }
        // clang-format on
        if (x == sx + 1 && y == sy) return;

        const State now{x, y, d};
        const bool walksInCircles = now == checkpoint;
        VIMO_ASSERT(!walksInCircles);
        if (++sinceCheckpoint == checkpointSpacing) {
            checkpoint = now;
            sinceCheckpoint = 0;
            checkpointSpacing *= 2;
        }
    }
}
