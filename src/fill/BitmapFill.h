#pragma once

#include "raster/Bitmap.h"
#include "raster/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <vector>

struct SweepRow;

// The raster operations behind the fill tool, on one bitmap (the receiver).
// The fill tool floods the clicked area of the drawing into a mask (the
// canvas's stroke bitmap, transparent before), grows the mask, finds the holes
// in it and traces the outlines of the mask and of each hole on the grid of
// pixel corners. A mask pixel counts as filled when its alpha byte is
// non-zero.
//
// All positions are bitmap coordinates (origin bottom left, y up); seeds and
// starts are truncated toward zero and clamped into the bitmap. The fills use
// no queue or stack: they repeat forward and backward sweeps over the growing
// bounding box until a pair of sweeps fills nothing (see SweepFill).
class BitmapFill {
public:
    // findHolesInRect marks the holes with this word (alpha 1: filled).
    static constexpr std::uint32_t HOLE_MARK = 0x01000000u;
    // expand's temporary mark (alpha 0: not filled).
    static constexpr std::uint32_t EXPAND_MARK = 0x00563412u;

    static bool isFilled(std::uint32_t word) { return word > 0x00FFFFFFu; }

    explicit BitmapFill(Bitmap& bitmap);

    // Fills into the receiver (the mask) the 4-connected area around the
    // seed of pixels whose colour in bm lies within tolerance of the seed's
    // colour there: no channel of the premultiplied pixels differs by more
    // than tolerance * 255 (0 takes exact matches only, 1 everything). The
    // seed is always filled. Returns the bounds of the filled pixels. bm
    // must have the receiver's size. A colour with alpha 0 does not count as
    // filled, so with one only the seed is written.
    Rect floodFill(const Bitmap& bm, Point seed, std::uint32_t color, float tolerance);

    // Fills in place the 4-connected area around the seed of pixels equal to
    // the seed's colour, within the inclusive limit columns trunc(x) ..
    // trunc(x + width) and rows trunc(y) .. trunc(y + height) (clamped into
    // the bitmap). Does nothing more when the seed already has the colour.
    void floodFillAt(Point seed, std::uint32_t color, const Rect& limit);

    // Grows the mask by one pixel over the area widened by 1 to the left and
    // bottom and by 2 to the right and top: a pixel whose word is 0 takes the
    // colour when one of its four diagonal neighbours is filled. Neighbours in
    // the last column or the top row never count. A straight edge grows by a
    // pixel; an isolated pixel grows into an X.
    void expand(const Rect& area, std::uint32_t color);

    // Marks the unfilled areas of the (clamped) area with HOLE_MARK, first
    // those at its four corners, then every other one, appending each of those
    // (its lowest, then leftmost pixel) to holes.
    void findHolesInRect(const Rect& area, std::vector<Point>& holes);

    // Appends the outline of the 4-connected region of pixels equal to the
    // start pixel, as pixel corners, one per unit edge, with the region on the
    // left (counter-clockwise with y up, clockwise as the rows are stored), beginning at the start
    // pixel's lower right corner heading east. The start pixel must be the
    // lowest of its column on that boundary (its lower neighbour outside the
    // region). Pixels touching only diagonally are not joined.
    void clockwiseOutlineFrom(Point start, std::vector<Point>& outline) const;

private:
    struct Extent {
        int _width;
        int _height;
    };

    void floodFillAt(Point seed, std::uint32_t color, const Rect& limit,
                     std::vector<SweepRow>& rows);
    // The word of pixel (x, y), or -1 (no word) outside the bitmap.
    static std::int64_t pixel(const BitmapFill* self, const std::uint32_t* selfpx, int x, int y);
    std::size_t indexOf(int x, int y) const {
        return std::size_t(_height - 1 - y) * std::size_t(_width) + std::size_t(x);
    }

    int _width;
    int _height;
    std::uint32_t* _pixels;
};
