#include "model/BezierPath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// The magic number of four-arc circle approximations: control points sit this
// fraction of the radius away from the arc's ends along the tangents.
constexpr double kappa = 0.55228474983079356;

struct DPoint {
    double x, y;
};

DPoint toD(Point p) {
    return {p.x, p.y};
}

// Walks the path as a sequence of line and cubic segments, the way a filler
// sees it: every subpath is closed back to its start (a fill closes open
// subpaths too), a line or curve right after a close starts from the closed
// subpath's start, and one with no move before it is ignored, as a graphics
// context ignores it.
template <class OnLine, class OnCurve>
void forEachFilledSegment(std::span<const PathElement> elements, OnLine onLine, OnCurve onCurve) {
    DPoint start{0, 0}, current{0, 0};
    bool hasCurrent = false, open = false;
    auto closeSubpath = [&] {
        if (open && (current.x != start.x || current.y != start.y)) onLine(current, start);
        current = start;
        open = false;
    };
    for (const PathElement& e : elements) {
        switch (e.type) {
        case MoveToElement:
            closeSubpath();
            start = current = toD(e.points[0]);
            hasCurrent = true;
            break;
        case LineToElement: {
            if (!hasCurrent) break;
            const DPoint to = toD(e.points[0]);
            onLine(current, to);
            current = to;
            open = true;
            break;
        }
        case CurveToElement: {
            if (!hasCurrent) break;
            const DPoint to = toD(e.points[2]);
            onCurve(current, toD(e.points[0]), toD(e.points[1]), to);
            current = to;
            open = true;
            break;
        }
        case ClosePathElement:
            closeSubpath();
            break;
        default:
            break;
        }
    }
    closeSubpath();
}

class BoundsAccumulator {
public:
    void add(double x, double y) {
        if (std::isnan(x) || std::isnan(y)) _nan = true;
        _x0 = std::min(_x0, x);
        _y0 = std::min(_y0, y);
        _x1 = std::max(_x1, x);
        _y1 = std::max(_y1, y);
        _any = true;
    }
    void add(Point p) { add(double(p.x), double(p.y)); }
    // Whether both values already lie inside the box along x (or y).
    bool coversX(double u, double v) const {
        return _any && std::min(u, v) >= _x0 && std::max(u, v) <= _x1;
    }
    bool coversY(double u, double v) const {
        return _any && std::min(u, v) >= _y0 && std::max(u, v) <= _y1;
    }
    Rect rect() const {
        if (!_any) return {};
        // A point that is not a number makes the whole box not a number, so
        // that damaged geometry is noticed rather than ignored.
        if (_nan) {
            const float nan = std::numeric_limits<float>::quiet_NaN();
            return {nan, nan, nan, nan};
        }
        return {static_cast<float>(_x0), static_cast<float>(_y0), static_cast<float>(_x1 - _x0),
                static_cast<float>(_y1 - _y0)};
    }

private:
    double _x0 = std::numeric_limits<double>::infinity();
    double _y0 = std::numeric_limits<double>::infinity();
    double _x1 = -std::numeric_limits<double>::infinity();
    double _y1 = -std::numeric_limits<double>::infinity();
    bool _any = false;
    bool _nan = false;
};

double cubicAt(double p0, double p1, double p2, double p3, double t) {
    const double u = 1 - t;
    return u * u * u * p0 + 3 * u * u * t * p1 + 3 * u * t * t * p2 + t * t * t * p3;
}

// Parameters in (0, 1) where one coordinate of a cubic has a turning point.
int cubicExtrema(double p0, double p1, double p2, double p3, double out[2]) {
    const double a = -p0 + 3 * p1 - 3 * p2 + p3;
    const double b = 2 * (p0 - 2 * p1 + p2);
    const double c = p1 - p0;
    int n = 0;
    auto keep = [&](double t) {
        if (t > 0 && t < 1) out[n++] = t;
    };
    const double scale = std::max({std::fabs(a), std::fabs(b), std::fabs(c)});
    if (scale == 0 || !std::isfinite(scale)) return 0;
    if (std::fabs(a) <= 1e-12 * scale) {
        if (b != 0) keep(-c / b);
        return n;
    }
    const double disc = b * b - 4 * a * c;
    if (disc < 0) return 0;
    const double root = std::sqrt(disc);
    // The numerically stable pair of roots.
    const double q = -0.5 * (b + std::copysign(root, b));
    keep(q / a);
    if (q != 0) keep(c / q);
    return n;
}

// Signed crossings of the ray from p towards +x with the segment a-b:
// +1 for an upward edge passing right of p, -1 for a downward one. The lower
// end of an edge counts, the upper does not, so vertices are never counted
// twice.
int crossing(DPoint p, DPoint a, DPoint b) {
    if (a.y <= p.y && b.y > p.y) {
        const double x = a.x + (p.y - a.y) * (b.x - a.x) / (b.y - a.y);
        return x > p.x ? 1 : 0;
    }
    if (b.y <= p.y && a.y > p.y) {
        const double x = a.x + (p.y - a.y) * (b.x - a.x) / (b.y - a.y);
        return x > p.x ? -1 : 0;
    }
    return 0;
}

double distance(DPoint a, DPoint b) {
    return std::hypot(b.x - a.x, b.y - a.y);
}

} // namespace

BezierPath BezierPath::bezierPathWithRect(const Rect& r) {
    BezierPath path;
    path.appendBezierPathWithRect(r);
    return path;
}

BezierPath BezierPath::bezierPathWithOvalInRect(const Rect& r) {
    BezierPath path;
    path.appendBezierPathWithOvalInRect(r);
    return path;
}

void BezierPath::moveToPoint(Point p) {
    PathElement e;
    e.type = MoveToElement;
    e.points[0] = p;
    _elements.push_back(e);
}

void BezierPath::lineToPoint(Point p) {
    PathElement e;
    e.type = LineToElement;
    e.points[0] = p;
    _elements.push_back(e);
}

void BezierPath::curveToPoint(Point end, Point control1, Point control2) {
    PathElement e;
    e.type = CurveToElement;
    e.points[0] = control1;
    e.points[1] = control2;
    e.points[2] = end;
    _elements.push_back(e);
}

void BezierPath::closePath() {
    PathElement e;
    e.type = ClosePathElement;
    _elements.push_back(e);
}

void BezierPath::appendBezierPathWithRect(const Rect& r) {
    // Counter-clockwise (y up) from the origin corner, like the ovals.
    moveToPoint({r.minX(), r.minY()});
    lineToPoint({r.maxX(), r.minY()});
    lineToPoint({r.maxX(), r.maxY()});
    lineToPoint({r.minX(), r.maxY()});
    closePath();
}

void BezierPath::appendBezierPathWithOvalInRect(const Rect& r) {
    const double cx = double(r.x) + double(r.width) / 2;
    const double cy = double(r.y) + double(r.height) / 2;
    const double rx = double(r.width) / 2, ry = double(r.height) / 2;
    const double kx = rx * kappa, ky = ry * kappa;
    auto pt = [](double x, double y) {
        return Point{static_cast<float>(x), static_cast<float>(y)};
    };
    // Counter-clockwise with y up: right, top, left, bottom, back to the right.
    // Pen outlines rely on this: their tangent quads run the same way, so a
    // non-zero fill gives the union of circles and quads.
    moveToPoint(pt(cx + rx, cy));
    curveToPoint(pt(cx, cy + ry), pt(cx + rx, cy + ky), pt(cx + kx, cy + ry));
    curveToPoint(pt(cx - rx, cy), pt(cx - kx, cy + ry), pt(cx - rx, cy + ky));
    curveToPoint(pt(cx, cy - ry), pt(cx - rx, cy - ky), pt(cx - kx, cy - ry));
    curveToPoint(pt(cx + rx, cy), pt(cx + kx, cy - ry), pt(cx + rx, cy - ky));
    closePath();
}

void BezierPath::appendBezierPathWithPoints(const Point* points, int count) {
    if (!points || count <= 0) return;
    if (_elements.empty() || _elements.back().type == ClosePathElement)
        moveToPoint(points[0]);
    else
        lineToPoint(points[0]);
    for (int i = 1; i < count; ++i) lineToPoint(points[i]);
}

void BezierPath::appendBezierPath(const BezierPath& other) {
    // Copy first: other may be this path.
    const std::vector<PathElement> added = other._elements;
    _elements.insert(_elements.end(), added.begin(), added.end());
}

PathElementType BezierPath::elementAtIndex(int index, Point* associatedPoints) const {
    const PathElement& e = element(index);
    if (associatedPoints) {
        const int n = e.type == CurveToElement                               ? 3
                      : (e.type == MoveToElement || e.type == LineToElement) ? 1
                                                                             : 0;
        for (int i = 0; i < n; ++i) associatedPoints[i] = e.points[i];
    }
    return static_cast<PathElementType>(e.type);
}

Point BezierPath::currentPoint() const {
    Point start, current;
    for (const PathElement& e : _elements) {
        switch (e.type) {
        case MoveToElement:
            start = current = e.points[0];
            break;
        case LineToElement:
            current = e.points[0];
            break;
        case CurveToElement:
            current = e.points[2];
            break;
        case ClosePathElement:
            current = start;
            break;
        default:
            break;
        }
    }
    return current;
}

Rect BezierPath::bounds() const {
    BoundsAccumulator acc;
    for (const PathElement& e : _elements)
        if (e.type == MoveToElement) acc.add(e.points[0]);
    forEachFilledSegment(
        _elements,
        [&](DPoint a, DPoint b) {
            acc.add(a.x, a.y);
            acc.add(b.x, b.y);
        },
        [&](DPoint a, DPoint c1, DPoint c2, DPoint b) {
            acc.add(a.x, a.y);
            acc.add(b.x, b.y);
            // A curve stays within the hull of its control points: when
            // the box already holds them along an axis, no extremum along
            // it can grow the box (the common case in pen outlines).
            double ts[2];
            if (!acc.coversX(c1.x, c2.x)) {
                const int nx = cubicExtrema(a.x, c1.x, c2.x, b.x, ts);
                for (int i = 0; i < nx; ++i) acc.add(cubicAt(a.x, c1.x, c2.x, b.x, ts[i]), b.y);
            }
            if (!acc.coversY(c1.y, c2.y)) {
                const int ny = cubicExtrema(a.y, c1.y, c2.y, b.y, ts);
                for (int i = 0; i < ny; ++i) acc.add(b.x, cubicAt(a.y, c1.y, c2.y, b.y, ts[i]));
            }
        });
    return acc.rect();
}

Rect BezierPath::controlPointBounds() const {
    BoundsAccumulator acc;
    for (const PathElement& e : _elements) {
        if (e.type == MoveToElement || e.type == LineToElement) {
            acc.add(e.points[0]);
        } else if (e.type == CurveToElement) {
            for (const Point& p : e.points) acc.add(p);
        }
    }
    return acc.rect();
}

int BezierPath::windingCountAtPoint(Point p) const {
    const DPoint q = toD(p);
    int winding = 0;
    forEachFilledSegment(
        _elements, [&](DPoint a, DPoint b) { winding += crossing(q, a, b); },
        [&](DPoint a, DPoint c1, DPoint c2, DPoint b) {
            // Skip curves entirely above, below or left of the ray.
            const double minY = std::min({a.y, c1.y, c2.y, b.y});
            const double maxY = std::max({a.y, c1.y, c2.y, b.y});
            const double maxX = std::max({a.x, c1.x, c2.x, b.x});
            if (q.y < minY || q.y > maxY || q.x > maxX) {
                winding += crossing(q, a, b);
                return;
            }
            // Flatten finely enough that the chords stay well within a
            // hundredth of a unit of the curve for usual sizes.
            const double length = distance(a, c1) + distance(c1, c2) + distance(c2, b);
            int n = 8;
            if (std::isfinite(length)) n = std::clamp(int(std::ceil(length * 2)), 8, 1024);
            DPoint prev = a;
            for (int i = 1; i <= n; ++i) {
                const double t = double(i) / n;
                const DPoint next = i == n ? b
                                           : DPoint{cubicAt(a.x, c1.x, c2.x, b.x, t),
                                                    cubicAt(a.y, c1.y, c2.y, b.y, t)};
                winding += crossing(q, prev, next);
                prev = next;
            }
        });
    return winding;
}

bool BezierPath::containsPoint(Point p) const {
    const int winding = windingCountAtPoint(p);
    return _winding_rule == EvenOddWindingRule ? (winding % 2) != 0 : winding != 0;
}

void BezierPath::transformUsingAffineTransform(const AffineTransform& t) {
    for (PathElement& e : _elements) {
        const int n = e.type == CurveToElement                               ? 3
                      : (e.type == MoveToElement || e.type == LineToElement) ? 1
                                                                             : 0;
        for (int i = 0; i < n; ++i) e.points[i] = t.transformPoint(e.points[i]);
    }
}
