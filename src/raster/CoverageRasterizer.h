#pragma once

#include <cstdint>
#include <vector>

// Scan-converts a path of lines and cubic curves into per-pixel coverage and
// composites a solid premultiplied colour source-over into 32-bit pixels.
//
// Coordinates are raster coordinates: x to the right, y down, one unit per
// pixel, pixel (i, j) covering [i, i+1] x [j, j+1] and stored at row j.
// Curves are flattened into line segments as they are added. Filling clips
// to the target's rectangle, accumulates each segment's signed area and cover
// into a cell buffer over the bounding box of the path, then sweeps each row
// once, turning the running winding sum into coverage:
//   non-zero: min(1, |winding|), even-odd: the winding folded into 0..1.
// Without antialiasing the winding is sampled at pixel centres instead, so
// every pixel is either fully painted or left alone.
class CoverageRasterizer {
public:
    enum class FillRule { NonZero, EvenOdd };

    // Largest flattening error of curves, in pixels.
    static constexpr float kTolerance = 0.05f;
    // Most cells accumulated at once; taller boxes are filled in bands.
    static constexpr int kMaxCells = 1 << 20;

    // Forgets the path (keeps the buffers) and sets the size of the target
    // that the next fill paints into; nothing outside it is painted.
    void reset(int width, int height);
    void moveTo(float x, float y);
    void lineTo(float x, float y);
    void cubicTo(float x1, float y1, float x2, float y2, float x3, float y3);
    // Closes the current subpath; filling closes open subpaths implicitly.
    void closePath();
    bool empty() const { return _segments.empty(); }

    // Paints the path's inside with color (premultiplied packed word) into
    // pixels of the size given to reset(), rows top first with no padding.
    void fill(std::uint32_t* pixels, std::uint32_t color, FillRule rule, bool antialias);

    // Source-over of a premultiplied colour scaled by coverage 0..255.
    static std::uint32_t blend(std::uint32_t dst, std::uint32_t src, std::uint32_t coverage);

private:
    struct Segment {
        float x0, y0, x1, y1;
    };
    struct Box {
        int x0, y0, w, h;
    };

    void addSegment(float x0, float y0, float x1, float y1);
    void closeSubpath();
    void accumulateArea(float x0, float y0, float x1, float y1);
    void accumulateClippedArea(float x0, float y0, float x1, float y1);
    void accumulateCentres(float x0, float y0, float x1, float y1);
    void touch(int row, int lo, int hi);
    void sweep(std::uint32_t* pixels, std::uint32_t color, FillRule rule, bool antialias);

    int _width = 0, _height = 0;
    std::vector<Segment> _segments;
    float _minX = 0, _minY = 0, _maxX = 0, _maxY = 0;
    float _startX = 0, _startY = 0, _curX = 0, _curY = 0;
    bool _hasCurrent = false;

    // Cell buffer of the box being filled: _pitch cells a row, all zero
    // between fills; per row the range of cells written.
    Box _box{};
    int _pitch = 0;
    std::vector<float> _cells;
    std::vector<int> _rowLo, _rowHi;
};
