#include "raster/Geometry.h"

#include <algorithm>

Rect unionRect(const Rect& a, const Rect& b) {
    if (a.isEmpty()) return b;
    if (b.isEmpty()) return a;
    const float x0 = std::min(a.minX(), b.minX());
    const float y0 = std::min(a.minY(), b.minY());
    const float x1 = std::max(a.maxX(), b.maxX());
    const float y1 = std::max(a.maxY(), b.maxY());
    return {x0, y0, x1 - x0, y1 - y0};
}

Rect intersectionRect(const Rect& a, const Rect& b) {
    const float x0 = std::max(a.minX(), b.minX());
    const float y0 = std::max(a.minY(), b.minY());
    const float x1 = std::min(a.maxX(), b.maxX());
    const float y1 = std::min(a.maxY(), b.maxY());
    if (!(x1 > x0 && y1 > y0)) return {};
    return {x0, y0, x1 - x0, y1 - y0};
}

bool intersectsRect(const Rect& a, const Rect& b) {
    return !intersectionRect(a, b).isEmpty();
}

bool containsRect(const Rect& a, const Rect& b) {
    return !b.isEmpty() && a.minX() <= b.minX() && a.minY() <= b.minY() && b.maxX() <= a.maxX() &&
           b.maxY() <= a.maxY();
}

Rect insetRect(const Rect& r, float dx, float dy) {
    return {r.x + dx, r.y + dy, r.width - 2 * dx, r.height - 2 * dy};
}

bool pointInRect(const Point& p, const Rect& r) {
    return p.x >= r.minX() && p.x < r.maxX() && p.y >= r.minY() && p.y < r.maxY();
}
