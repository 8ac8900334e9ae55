#pragma once

// The two sweeps of the flood fills written out pixel by pixel, as plainly
// as they are described, with the limits re-read after every pixel. The
// word-parallel fills must give exactly the same pixels and bounds, also on
// masks that hold filled pixels before the fill.

#include "raster/Bitmap.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

struct LiteralBox {
    int minX, maxX, minY, maxY;
    bool operator==(const LiteralBox&) const = default;
};

inline int literalTruncClamp(float v, int lo, int hi) {
    return std::clamp(static_cast<int>(std::trunc(v)), lo, hi);
}

template <class Filled, class Accepts>
LiteralBox literalSweeps(Bitmap& mask, int sx, int sy, std::uint32_t color, int left, int right,
                         int bottom, int top, Filled filled, Accepts accepts) {
    const int w = mask.width(), h = mask.height();
    LiteralBox b{sx, sx, sy, sy};
    for (;;) {
        bool changed = false;
        for (int y = b.minY; y <= std::min(b.maxY + 1, top); ++y)
            for (int x = b.minX; x <= std::min(b.maxX + 1, right); ++x) {
                if (filled(mask.at(x, y))) continue;
                const bool candidate =
                    (y > 0 && filled(mask.at(x, y - 1))) || (x > 0 && filled(mask.at(x - 1, y)));
                if (!candidate || !accepts(x, y)) continue;
                mask.at(x, y) = color;
                b.maxX = std::max(b.maxX, x);
                b.maxY = std::max(b.maxY, y);
                changed = true;
            }
        for (int y = b.maxY; y >= std::max(b.minY - 1, bottom); --y)
            for (int x = b.maxX; x >= std::max(b.minX - 1, left); --x) {
                if (filled(mask.at(x, y))) continue;
                const bool candidate = (y < h - 1 && filled(mask.at(x, y + 1))) ||
                                       (x < w - 1 && filled(mask.at(x + 1, y)));
                if (!candidate || !accepts(x, y)) continue;
                mask.at(x, y) = color;
                b.minX = std::min(b.minX, x);
                b.minY = std::min(b.minY, y);
                changed = true;
            }
        if (!changed) return b;
    }
}

inline int literalDistance(std::uint32_t a, std::uint32_t b) {
    int d = 0;
    for (int s = 0; s < 32; s += 8)
        d = std::max(d, std::abs(int((a >> s) & 255) - int((b >> s) & 255)));
    return d;
}

inline LiteralBox literalFloodFill(Bitmap& mask, const Bitmap& reference, Point seed,
                                   std::uint32_t color, float tolerance) {
    const int sx = literalTruncClamp(seed.x, 0, mask.width() - 1);
    const int sy = literalTruncClamp(seed.y, 0, mask.height() - 1);
    const std::uint32_t c0 = reference.at(sx, sy);
    mask.at(sx, sy) = color;
    return literalSweeps(
        mask, sx, sy, color, 0, mask.width() - 1, 0, mask.height() - 1,
        [](std::uint32_t word) { return word > 0xFFFFFFu; },
        [&](int x, int y) {
            return !(float(literalDistance(reference.at(x, y), c0)) / 255.0f > tolerance);
        });
}

inline void literalFloodFillAt(Bitmap& mask, Point seed, std::uint32_t color, const Rect& limit) {
    const int w = mask.width(), h = mask.height();
    const int sx = literalTruncClamp(seed.x, 0, w - 1);
    const int sy = literalTruncClamp(seed.y, 0, h - 1);
    const std::uint32_t old = mask.at(sx, sy);
    mask.at(sx, sy) = color;
    if (old == color) return;
    literalSweeps(
        mask, sx, sy, color, literalTruncClamp(limit.x, 0, w - 1),
        literalTruncClamp(limit.x + limit.width, 0, w - 1), literalTruncClamp(limit.y, 0, h - 1),
        literalTruncClamp(limit.y + limit.height, 0, h - 1),
        [color](std::uint32_t word) { return word == color; },
        [&](int x, int y) { return mask.at(x, y) == old; });
}
