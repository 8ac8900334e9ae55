#pragma once

// The sweeps of the flood fills written out pixel by pixel, as plainly as
// they are described, limits re-read after every pixel: the oracle for the
// word-parallel fills, which must give the same pixels and bounds, also on
// masks holding filled pixels before the fill.

#include "raster/Bitmap.h"

#include <algorithm>
#include <cmath>

struct LiteralBox {
    int minX, maxX, minY, maxY;
};

inline int literalClamp(float v, int hi) {
    return std::clamp(int(std::trunc(v)), 0, hi);
}

template <class Filled, class Accepts>
LiteralBox literalSweeps(Bitmap& m, int sx, int sy, std::uint32_t color, const int lim[4],
                         Filled filled, Accepts accepts) {
    LiteralBox b{sx, sx, sy, sy};
    for (bool changed = true; changed;) {
        changed = false;
        auto take = [&](int x, int y, bool candidate) {
            if (filled(m.at(x, y)) || !candidate || !accepts(x, y)) return false;
            m.at(x, y) = color;
            return changed = true;
        };
        for (int y = b.minY; y <= std::min(b.maxY + 1, lim[3]); ++y)
            for (int x = b.minX; x <= std::min(b.maxX + 1, lim[1]); ++x)
                if (take(x, y,
                         (y > 0 && filled(m.at(x, y - 1))) || (x > 0 && filled(m.at(x - 1, y)))))
                    b.maxX = std::max(b.maxX, x), b.maxY = std::max(b.maxY, y);
        for (int y = b.maxY; y >= std::max(b.minY - 1, lim[2]); --y)
            for (int x = b.maxX; x >= std::max(b.minX - 1, lim[0]); --x)
                if (take(x, y,
                         (y + 1 < m.height() && filled(m.at(x, y + 1))) ||
                             (x + 1 < m.width() && filled(m.at(x + 1, y)))))
                    b.minX = std::min(b.minX, x), b.minY = std::min(b.minY, y);
    }
    return b;
}

inline LiteralBox literalFloodFill(Bitmap& m, const Bitmap& ref, Point seed, float tolerance) {
    const int sx = literalClamp(seed.x, m.width() - 1), sy = literalClamp(seed.y, m.height() - 1);
    const std::uint32_t c0 = ref.at(sx, sy);
    m.at(sx, sy) = RED;
    const int lim[4] = {0, m.width() - 1, 0, m.height() - 1};
    auto distance = [](std::uint32_t a, std::uint32_t b) {
        int d = 0;
        for (int s = 0; s < 32; s += 8)
            d = std::max(d, std::abs(int((a >> s) & 255) - int((b >> s) & 255)));
        return float(d);
    };
    return literalSweeps(
        m, sx, sy, RED, lim, [](std::uint32_t w) { return w > 0xFFFFFFu; },
        [&](int x, int y) { return !(distance(ref.at(x, y), c0) / 255.0f > tolerance); });
}

inline void literalFloodFillAt(Bitmap& m, Point seed, std::uint32_t color, const Rect& r) {
    const int w = m.width() - 1, h = m.height() - 1;
    const int sx = literalClamp(seed.x, w), sy = literalClamp(seed.y, h);
    const std::uint32_t old = m.at(sx, sy);
    m.at(sx, sy) = color;
    if (old == color) return;
    const int lim[4] = {literalClamp(r.x, w), literalClamp(r.x + r.width, w), literalClamp(r.y, h),
                        literalClamp(r.y + r.height, h)};
    literalSweeps(
        m, sx, sy, color, lim, [color](std::uint32_t word) { return word == color; },
        [&](int x, int y) { return m.at(x, y) == old; });
}
