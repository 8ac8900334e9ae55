#include "raster/CoverageRasterizer.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

// c * m / 255 for each byte of c, rounded, two channels at a time.
inline std::uint32_t scaleBytes(std::uint32_t c, std::uint32_t m) {
    std::uint32_t rb = (c & 0x00FF00FFu) * m + 0x00800080u;
    rb = ((rb + ((rb >> 8) & 0x00FF00FFu)) >> 8) & 0x00FF00FFu;
    std::uint32_t ag = ((c >> 8) & 0x00FF00FFu) * m + 0x00800080u;
    ag = (ag + ((ag >> 8) & 0x00FF00FFu)) & 0xFF00FF00u;
    return rb | ag;
}

inline bool finite4(float a, float b, float c, float d) {
    return std::isfinite(a) && std::isfinite(b) && std::isfinite(c) && std::isfinite(d);
}

// Coverage 0..255 of a running winding sum.
inline std::uint32_t areaCoverage(float s, CoverageRasterizer::FillRule rule) {
    float a = std::fabs(s);
    if (rule == CoverageRasterizer::FillRule::EvenOdd) {
        a -= 2.0f * std::floor(a * 0.5f);
        if (a > 1.0f) a = 2.0f - a;
    } else if (a > 1.0f) {
        a = 1.0f;
    }
    return static_cast<std::uint32_t>(a * 255.0f + 0.5f);
}

inline std::uint32_t centreCoverage(float s, CoverageRasterizer::FillRule rule) {
    const long w = std::lround(s);
    if (rule == CoverageRasterizer::FillRule::EvenOdd) return (w & 1) ? 255u : 0u;
    return w != 0 ? 255u : 0u;
}

} // namespace

std::uint32_t CoverageRasterizer::blend(std::uint32_t dst, std::uint32_t src,
                                        std::uint32_t coverage) {
    const std::uint32_t s = coverage >= 255 ? src : scaleBytes(src, coverage);
    return s + scaleBytes(dst, 255u - (s >> 24));
}

void CoverageRasterizer::reset(int width, int height) {
    _width = std::max(width, 0);
    _height = std::max(height, 0);
    _segments.clear();
    _minX = _minY = kInf;
    _maxX = _maxY = -kInf;
    _hasCurrent = false;
}

void CoverageRasterizer::addSegment(float x0, float y0, float x1, float y1) {
    // Horizontal segments cross no row and change no winding.
    if (y0 == y1 || !finite4(x0, y0, x1, y1)) return;
    _segments.push_back({x0, y0, x1, y1});
    _minX = std::min(_minX, std::min(x0, x1));
    _maxX = std::max(_maxX, std::max(x0, x1));
    _minY = std::min(_minY, std::min(y0, y1));
    _maxY = std::max(_maxY, std::max(y0, y1));
}

void CoverageRasterizer::closeSubpath() {
    if (_hasCurrent) addSegment(_curX, _curY, _startX, _startY);
    _curX = _startX;
    _curY = _startY;
}

void CoverageRasterizer::moveTo(float x, float y) {
    closeSubpath();
    _startX = _curX = x;
    _startY = _curY = y;
    _hasCurrent = true;
}

void CoverageRasterizer::lineTo(float x, float y) {
    if (!_hasCurrent) {
        moveTo(x, y);
        return;
    }
    addSegment(_curX, _curY, x, y);
    _curX = x;
    _curY = y;
}

void CoverageRasterizer::closePath() {
    closeSubpath();
}

void CoverageRasterizer::cubicTo(float x1, float y1, float x2, float y2, float x3, float y3) {
    if (!_hasCurrent) moveTo(x1, y1);
    const float x0 = _curX, y0 = _curY;
    // A curve wholly beside the target changes the winding inside it no more
    // than its chord does.
    const float lx = std::min(std::min(x0, x1), std::min(x2, x3));
    const float hx = std::max(std::max(x0, x1), std::max(x2, x3));
    const float ly = std::min(std::min(y0, y1), std::min(y2, y3));
    const float hy = std::max(std::max(y0, y1), std::max(y2, y3));
    if (hx <= 0 || lx >= float(_width) || hy <= 0 || ly >= float(_height)) {
        lineTo(x3, y3);
        return;
    }
    // Segment count from the largest second difference of the control
    // polygon, which bounds the distance of the curve from its chords.
    const double ddx0 = double(x0) - 2.0 * x1 + x2, ddy0 = double(y0) - 2.0 * y1 + y2;
    const double ddx1 = double(x1) - 2.0 * x2 + x3, ddy1 = double(y1) - 2.0 * y2 + y3;
    const double dd = std::sqrt(std::max(ddx0 * ddx0 + ddy0 * ddy0, ddx1 * ddx1 + ddy1 * ddy1));
    if (!std::isfinite(dd)) {
        lineTo(x3, y3);
        return;
    }
    const double steps = std::ceil(std::sqrt(0.75 * dd / double(kTolerance)));
    const int n = static_cast<int>(std::clamp(steps, 1.0, 1024.0));
    if (n == 1) {
        lineTo(x3, y3);
        return;
    }
    // Forward differences of the cubic at step h = 1/n.
    const double h = 1.0 / n, h2 = h * h, h3 = h2 * h;
    const double ax = -double(x0) + 3.0 * x1 - 3.0 * x2 + x3,
                 ay = -double(y0) + 3.0 * y1 - 3.0 * y2 + y3;
    const double bx = 3.0 * (double(x0) - 2.0 * x1 + x2), by = 3.0 * (double(y0) - 2.0 * y1 + y2);
    const double cx = 3.0 * (double(x1) - x0), cy = 3.0 * (double(y1) - y0);
    double px = x0, py = y0;
    double d1x = ax * h3 + bx * h2 + cx * h, d1y = ay * h3 + by * h2 + cy * h;
    double d2x = 6.0 * ax * h3 + 2.0 * bx * h2, d2y = 6.0 * ay * h3 + 2.0 * by * h2;
    const double d3x = 6.0 * ax * h3, d3y = 6.0 * ay * h3;
    for (int i = 1; i < n; ++i) {
        px += d1x;
        py += d1y;
        d1x += d2x;
        d1y += d2y;
        d2x += d3x;
        d2y += d3y;
        lineTo(static_cast<float>(px), static_cast<float>(py));
    }
    lineTo(x3, y3);
}

void CoverageRasterizer::touch(int row, int lo, int hi) {
    int& l = _rowLo[std::size_t(row)];
    int& r = _rowHi[std::size_t(row)];
    if (lo < l) l = lo;
    if (hi > r) r = hi;
}

// Adds the signed area and cover of a segment lying inside the box
// (0 <= x <= w, 0 <= y <= h) to the cells of the rows it crosses.
void CoverageRasterizer::accumulateArea(float x0, float y0, float x1, float y1) {
    if (y0 == y1) return;
    float dir = 1.0f;
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
        dir = -1.0f;
    }
    const float dxdy = (x1 - x0) / (y1 - y0);
    const float xlo = std::min(x0, x1), xhi = std::max(x0, x1);
    const int rowEnd = std::min(_box.h, static_cast<int>(std::ceil(y1)));
    float x = x0;
    for (int y = static_cast<int>(y0); y < rowEnd; ++y) {
        float* row = _cells.data() + std::size_t(y) * std::size_t(_pitch);
        const float yb = float(y + 1);
        const float dy = std::min(yb, y1) - std::max(float(y), y0);
        const float xnext = yb >= y1 ? x1 : std::clamp(x0 + (yb - y0) * dxdy, xlo, xhi);
        const float d = dy * dir;
        const float xa = std::min(x, xnext), xb = std::max(x, xnext);
        const float xaFloor = std::floor(xa);
        const int xai = static_cast<int>(xaFloor);
        const float xbCeil = std::ceil(xb);
        const int xbi = static_cast<int>(xbCeil);
        if (xbi <= xai + 1) {
            // Within one cell: the area right of the segment's mean x.
            const float xmf = 0.5f * (x + xnext) - xaFloor;
            row[xai] += d - d * xmf;
            row[xai + 1] += d * xmf;
            touch(y, xai, xai + 1);
        } else {
            // Across cells: triangle in the first, trapezoids in between.
            const float s = 1.0f / (xb - xa);
            const float xaf = xa - xaFloor;
            const float a0 = 0.5f * s * (1.0f - xaf) * (1.0f - xaf);
            const float xbf = xb - xbCeil + 1.0f;
            const float am = 0.5f * s * xbf * xbf;
            row[xai] += d * a0;
            if (xbi == xai + 2) {
                row[xai + 1] += d * (1.0f - a0 - am);
            } else {
                const float a1 = s * (1.5f - xaf);
                row[xai + 1] += d * (a1 - a0);
                const float ds = d * s;
                for (int xi = xai + 2; xi < xbi - 1; ++xi) row[xi] += ds;
                const float a2 = a1 + float(xbi - xai - 3) * s;
                row[xbi - 1] += d * (1.0f - a2 - am);
            }
            row[xbi] += d * am;
            touch(y, xai, xbi);
        }
        x = xnext;
    }
}

// Clips a segment to the box: parts above or below are dropped, parts left
// of it become a vertical piece on its left edge (keeping their winding for
// the pixels to the right), parts right of it are pressed onto its right edge.
void CoverageRasterizer::accumulateClippedArea(float fx0, float fy0, float fx1, float fy1) {
    const double w = _box.w, h = _box.h;
    double x0 = fx0, y0 = fy0, x1 = fx1, y1 = fy1;
    if ((y0 <= 0 && y1 <= 0) || (y0 >= h && y1 >= h) || y0 == y1) return;
    auto cutY = [&](double& xa, double& ya, double xb, double yb, double at) {
        xa += (at - ya) / (yb - ya) * (xb - xa);
        ya = at;
    };
    if (y0 < 0) cutY(x0, y0, x1, y1, 0);
    if (y1 < 0) cutY(x1, y1, x0, y0, 0);
    if (y0 > h) cutY(x0, y0, x1, y1, h);
    if (y1 > h) cutY(x1, y1, x0, y0, h);
    double ts[4] = {0, 0, 0, 1};
    int n = 1;
    if ((x0 < 0) != (x1 < 0)) ts[n++] = (0 - x0) / (x1 - x0);
    if ((x0 > w) != (x1 > w)) ts[n++] = (w - x0) / (x1 - x0);
    if (n == 3 && ts[2] < ts[1]) std::swap(ts[1], ts[2]);
    ts[n++] = 1;
    auto clampX = [w](double v) { return static_cast<float>(std::clamp(v, 0.0, w)); };
    auto clampY = [h](double v) { return static_cast<float>(std::clamp(v, 0.0, h)); };
    for (int i = 0; i + 1 < n; ++i) {
        const double ta = ts[i], tb = ts[i + 1];
        accumulateArea(clampX(x0 + ta * (x1 - x0)), clampY(y0 + ta * (y1 - y0)),
                       clampX(x0 + tb * (x1 - x0)), clampY(y0 + tb * (y1 - y0)));
    }
}

// Aliased: the winding changes at the first pixel centre at or right of
// where the segment crosses each row's centre line.
void CoverageRasterizer::accumulateCentres(float fx0, float fy0, float fx1, float fy1) {
    if (fy0 == fy1) return;
    double x0 = fx0, y0 = fy0, x1 = fx1, y1 = fy1;
    float dir = 1.0f;
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
        dir = -1.0f;
    }
    const double first = std::max(0.0, std::ceil(y0 - 0.5));
    const double last = std::min(double(_box.h) - 1.0, std::ceil(y1 - 0.5) - 1.0);
    if (first > last) return;
    const double dxdy = (x1 - x0) / (y1 - y0);
    const double w = _box.w;
    for (int y = static_cast<int>(first); y <= static_cast<int>(last); ++y) {
        const double xc = x0 + (double(y) + 0.5 - y0) * dxdy;
        const int cell = static_cast<int>(std::clamp(std::ceil(xc - 0.5), 0.0, w));
        _cells[std::size_t(y) * std::size_t(_pitch) + std::size_t(cell)] += dir;
        touch(y, cell, cell);
    }
}

void CoverageRasterizer::fill(std::uint32_t* pixels, std::uint32_t color, FillRule rule,
                              bool antialias) {
    closeSubpath();
    if (_segments.empty() || _width == 0 || _height == 0) return;
    const float fx0 = std::clamp(std::floor(_minX), 0.0f, float(_width));
    const float fx1 = std::clamp(std::ceil(_maxX), 0.0f, float(_width));
    const float fy0 = std::clamp(std::floor(_minY), 0.0f, float(_height));
    const float fy1 = std::clamp(std::ceil(_maxY), 0.0f, float(_height));
    if (!(fx1 > fx0 && fy1 > fy0)) return;
    const int x0 = static_cast<int>(fx0), w = static_cast<int>(fx1 - fx0);
    const int y0 = static_cast<int>(fy0), y1 = static_cast<int>(fy1);
    const bool clippedX = _minX < fx0 || _maxX > fx1;

    // Tall boxes are done in bands so that the cell buffer stays small.
    _pitch = w + 2;
    const int bandRows = std::max(1, kMaxCells / _pitch);
    const std::size_t cells = std::size_t(_pitch) * std::size_t(std::min(bandRows, y1 - y0));
    if (_cells.size() < cells) _cells.resize(cells, 0.0f);
    for (int band = y0; band < y1; band += bandRows) {
        _box = {x0, band, w, std::min(bandRows, y1 - band)};
        if (_rowLo.size() < std::size_t(_box.h)) {
            _rowLo.resize(std::size_t(_box.h), std::numeric_limits<int>::max());
            _rowHi.resize(std::size_t(_box.h), -1);
        }
        const float ox = float(x0), oy = float(band), h = float(_box.h);
        const bool clipped = clippedX || _minY < oy || _maxY > oy + h;
        for (const Segment& s : _segments) {
            const float sy0 = s.y0 - oy, sy1 = s.y1 - oy;
            if ((sy0 <= 0 && sy1 <= 0) || (sy0 >= h && sy1 >= h)) continue;
            const float sx0 = s.x0 - ox, sx1 = s.x1 - ox;
            if (!antialias)
                accumulateCentres(sx0, sy0, sx1, sy1);
            else if (clipped)
                accumulateClippedArea(sx0, sy0, sx1, sy1);
            else
                accumulateArea(sx0, sy0, sx1, sy1);
        }
        sweep(pixels, color, rule, antialias);
    }
}

// Runs the winding sum along each row, paints, and leaves the cells zero.
void CoverageRasterizer::sweep(std::uint32_t* pixels, std::uint32_t color, FillRule rule,
                               bool antialias) {
    const bool opaque = (color >> 24) == 255;
    for (int y = 0; y < _box.h; ++y) {
        int& rowLo = _rowLo[std::size_t(y)];
        int& rowHi = _rowHi[std::size_t(y)];
        const int lo = rowLo, hi = rowHi;
        rowLo = std::numeric_limits<int>::max();
        rowHi = -1;
        if (hi < lo) continue;
        float* row = _cells.data() + std::size_t(y) * std::size_t(_pitch);
        std::uint32_t* dst =
            pixels + std::size_t(_box.y0 + y) * std::size_t(_width) + std::size_t(_box.x0);
        const int end = std::min(hi, _box.w - 1);
        float s = 0;
        int i = lo;
        for (; i <= end; ++i) {
            s += row[i];
            row[i] = 0;
            const std::uint32_t a = antialias ? areaCoverage(s, rule) : centreCoverage(s, rule);
            if (a == 0) continue;
            dst[i] = (a == 255 && opaque) ? color : blend(dst[i], color, a);
        }
        for (; i <= hi; ++i) row[i] = 0;
    }
}
