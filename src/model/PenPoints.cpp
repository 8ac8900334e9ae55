#include "model/PenPoints.h"

#include "model/AffineTransform.h"
#include "model/BezierPath.h"
#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"
#include "raster/Assert.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace {

float distance(Point a, Point b) {
    const float dx = b.x - a.x, dy = b.y - a.y;
    return std::sqrt(dx * dx + dy * dy);
}

bool finite(Point p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

// Truncation toward zero into 32 bits that stays defined for any float: NaN
// gives 0 and values beyond the range stick at its ends.
std::int32_t truncToInt32(float v) {
    if (std::isnan(v)) return 0;
    const double t = std::trunc(double(v));
    if (t <= double(std::numeric_limits<std::int32_t>::min()))
        return std::numeric_limits<std::int32_t>::min();
    if (t >= double(std::numeric_limits<std::int32_t>::max()))
        return std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(t);
}

// Past this size a trace maps to geometry whose tangent arithmetic would
// overflow single precision; such traces (only ever seen in damaged files)
// get no outline instead.
constexpr float worldLimit = 1e15f;

bool withinLimit(float v) {
    return std::fabs(v) <= worldLimit;
}

// Bernstein basis of the cubic and the parameters at which gap filling assumes
// its four neighbouring samples lie on the curve.
float bernstein(int k, float t) {
    const float u = 1 - t;
    switch (k) {
    case 0:
        return u * u * u;
    case 1:
        return 3 * u * u * t;
    case 2:
        return 3 * u * t * t;
    default:
        return t * t * t;
    }
}

constexpr float sampleParameters[4] = {0.0f, 1.0f / 3.0f, 2.0f / 3.0f, 1.0f};

} // namespace

PenPoints::PenPoints(const AffineMatrix& transform, float radius)
    : _transform(transform), _radius(radius) {}

Point PenPoints::lastPoint() const {
    VIMO_ASSERT(!_pen_points.empty());
    return _pen_points.back().point;
}

float PenPoints::lastPressure() const {
    VIMO_ASSERT(!_pen_points.empty());
    return _pen_points.back().pressure;
}

Point PenPoints::bitmapPointToWorldPoint(Point p) const {
    return _transform.inverted().apply(p);
}

float PenPoints::scale() const {
    return std::sqrt(_transform.a * _transform.a + _transform.b * _transform.b);
}

void PenPoints::simplify() {
    smoothByBezierInterpolation();
    simplifyByAveraging();
    // The archive keeps tenths of a unit and 1/255 of pressure; rounding the
    // same way now makes a stroke look the same before and after saving.
    for (PenPoint& p : _pen_points) {
        p.point.x = std::trunc(p.point.x * 10.0f) / 10.0f;
        p.point.y = std::trunc(p.point.y * 10.0f) / 10.0f;
        p.pressure = std::trunc(p.pressure * 255.0f) / 255.0f;
    }
}

void PenPoints::smoothByBezierInterpolation() {
    const int n = count();
    if (n < 4) return;
    const float* t = sampleParameters;
    const float det =
        bernstein(1, t[1]) * bernstein(2, t[2]) - bernstein(2, t[1]) * bernstein(1, t[2]);
    const float gap = std::max(10.0f, 2 * _radius);
    const std::vector<PenPoint>& in = _pen_points;

    std::vector<PenPoint> out;
    out.reserve(in.size());
    for (int i = 1; i < n; ++i) {
        const PenPoint& before = in[std::size_t(i - 1)];
        const PenPoint& after = in[std::size_t(i)];
        out.push_back(before);
        const float d = distance(before.point, after.point);
        if (!(d > gap) || !std::isfinite(d)) continue;

        // Fit a cubic through four neighbouring samples, taken to lie on it
        // at the parameters 0, 1/3, 2/3 and 1.
        const int k = i - 2 < 0 ? 0 : std::min(i - 2, n - 4);
        const Point q0 = in[std::size_t(k)].point, q1 = in[std::size_t(k + 1)].point;
        const Point q2 = in[std::size_t(k + 2)].point, q3 = in[std::size_t(k + 3)].point;
        const Point r1{q1.x - bernstein(0, t[1]) * q0.x - bernstein(3, t[1]) * q3.x,
                       q1.y - bernstein(0, t[1]) * q0.y - bernstein(3, t[1]) * q3.y};
        const Point r2{q2.x - bernstein(0, t[2]) * q0.x - bernstein(3, t[2]) * q3.x,
                       q2.y - bernstein(0, t[2]) * q0.y - bernstein(3, t[2]) * q3.y};
        const Point c[4] = {
            q0,
            {(bernstein(2, t[2]) * r1.x - bernstein(2, t[1]) * r2.x) / det,
             (bernstein(2, t[2]) * r1.y - bernstein(2, t[1]) * r2.y) / det},
            {(bernstein(1, t[1]) * r2.x - bernstein(1, t[2]) * r1.x) / det,
             (bernstein(1, t[1]) * r2.y - bernstein(1, t[2]) * r1.y) / det},
            q3,
        };

        // Insert m points equally spaced in parameter between the two
        // samples, with linearly interpolated pressure.
        const int m = std::max(1, truncToInt32(d / gap));
        for (int j = 1; j <= m; ++j) {
            const float s = float(j) / float(m + 1);
            const float u = (float(i - 1) + s - float(k)) / 3.0f;
            Point p;
            for (int q = 0; q < 4; ++q) {
                p.x += c[q].x * bernstein(q, u);
                p.y += c[q].y * bernstein(q, u);
            }
            out.push_back({p, (1 - s) * before.pressure + s * after.pressure});
        }
    }
    out.push_back(in.back());
    _pen_points = std::move(out);
}

void PenPoints::simplifyByAveraging() {
    const int n = count();
    const float r = _radius;
    std::vector<PenPoint> out;
    int c = 0;
    float sx = 0, sy = 0, length = 0, maxPressure = 0;
    for (int i = 0; i < n; ++i) {
        const PenPoint& sample = _pen_points[std::size_t(i)];
        if (c == 0) sx = sy = length = maxPressure = 0;
        sx += sample.point.x;
        sy += sample.point.y;
        // Also for a group's first sample: its step from the previous group counts.
        if (i > 0) length += distance(_pen_points[std::size_t(i - 1)].point, sample.point);
        maxPressure = std::max(maxPressure, sample.pressure);
        ++c;
        // The first and the last two samples stand alone; other groups end
        // once their path length exceeds half the current sample's radius.
        if (!(i == 0 || i == n - 2 || i == n - 1 || 2 * length > sample.pressure * r)) continue;

        const PenPoint averaged{{sx / float(c), sy / float(c)}, maxPressure};
        const float rho = maxPressure * r;
        bool dropped = false;
        while (!out.empty()) {
            const PenPoint& z = out.back();
            const float zeta = z.pressure * r;
            const float e = distance(z.point, averaged.point);
            if (rho > zeta + e) {
                out.pop_back(); // the new circle swallows the previous one
            } else {
                dropped = zeta > rho + e; // the previous circle swallows the new one
                break;
            }
        }
        if (!dropped) out.push_back(averaged);
        c = 0;
    }
    _pen_points = std::move(out);
}

void PenPoints::simplifyByLinearInterpolation() {
    const int n = count();
    if (n < 3) return;
    const std::vector<PenPoint>& in = _pen_points;
    auto accepted = [&](int a, int j) {
        const PenPoint& pa = in[std::size_t(a)];
        const Point pj = in[std::size_t(j)].point;
        const float vx = pj.x - pa.point.x, vy = pj.y - pa.point.y;
        const float lengthSquared = vx * vx + vy * vy;
        for (int k = a + 1; k < j; ++k) {
            const PenPoint& pk = in[std::size_t(k)];
            const float wx = pk.point.x - pa.point.x, wy = pk.point.y - pa.point.y;
            const float t = (wx * vx + wy * vy) / lengthSquared;
            const float off = std::fabs(vx * wy - vy * wx) / std::sqrt(lengthSquared);
            if (!(t >= 0 && t <= 1 && off <= 0.5f && std::fabs(pk.pressure - pa.pressure) <= 0.1f))
                return false;
        }
        return true;
    };
    std::vector<PenPoint> out{in.front()};
    int a = 0;
    while (a < n - 1) {
        int j = a + 1;
        while (j < n && accepted(a, j)) ++j;
        out.push_back(in[std::size_t(j - 1)]);
        a = j - 1;
    }
    _pen_points = std::move(out);
}

std::unique_ptr<BezierPath> PenPoints::buildPath() const {
    return makePathWithCirclesAndSegments();
}

void PenPoints::transformUsingAffineTransform(const AffineTransform& t) {
    _transform = NSTransformToCGTransform(&t).inverted().concat(_transform);
}

bool PenPoints::quadForStrokeFrom(const PenPoint& from, const PenPoint& to, Point points[4]) const {
    const float worldScale = scale();
    return quadBetween(bitmapPointToWorldPoint(from.point), _radius * from.pressure / worldScale,
                       bitmapPointToWorldPoint(to.point), _radius * to.pressure / worldScale,
                       points);
}

bool PenPoints::quadBetween(Point a, float ra, Point b, float rb, Point points[4]) {
    const float dx = b.x - a.x, dy = b.y - a.y;
    const float d = std::sqrt(dx * dx + dy * dy);
    if (d == 0) return false;
    const float ux = dx / d, uy = dy / d;
    // When one circle holds the other the tangents do not exist; clamping
    // collapses the quad onto the line between the centres.
    float c = (ra - rb) / d;
    c = std::isnan(c) ? -1.0f : std::clamp(c, -1.0f, 1.0f);
    const float s = std::sqrt(1 - c * c);
    const Point n1{ux * c + uy * s, uy * c - ux * s};
    const Point n2{ux * c - uy * s, uy * c + ux * s};
    // Counter-clockwise (y up) like the circles, so non-zero fills the union.
    points[0] = {a.x + ra * n1.x, a.y + ra * n1.y};
    points[1] = {b.x + rb * n1.x, b.y + rb * n1.y};
    points[2] = {b.x + rb * n2.x, b.y + rb * n2.y};
    points[3] = {a.x + ra * n2.x, a.y + ra * n2.y};
    VIMO_ASSERT(finite(points[0]));
    VIMO_ASSERT(finite(points[1]));
    VIMO_ASSERT(finite(points[2]));
    VIMO_ASSERT(finite(points[3]));
    return true;
}

template <class Oval, class Quad, class WantQuad>
bool PenPoints::forEachOutlinePart(Oval&& oval, Quad&& quad, WantQuad&& wantQuad) const {
    if (_pen_points.empty()) return false;
    // The mapping is inverted once for all samples.
    const AffineMatrix toWorld = _transform.inverted();
    const float worldScale = scale();
    auto centre = [&](const PenPoint& p) { return toWorld.apply(p.point); };
    auto radius = [&](const PenPoint& p) { return _radius * p.pressure / worldScale; };
    auto circleRect = [](Point c, float rho) {
        return Rect{c.x - rho, c.y - rho, 2 * rho, 2 * rho};
    };
    // A damaged mapping or radius must not reach the tangent arithmetic.
    for (const PenPoint& p : _pen_points) {
        const Rect r = circleRect(centre(p), radius(p));
        if (!(withinLimit(r.x) && withinLimit(r.y) && withinLimit(r.width))) return false;
    }
    Point c0 = centre(_pen_points.front());
    float r0 = radius(_pen_points.front());
    oval(circleRect(c0, r0));
    for (std::size_t i = 1; i < _pen_points.size(); ++i) {
        const PenPoint& before = _pen_points[i - 1];
        const PenPoint& sample = _pen_points[i];
        const Point c1 = centre(sample);
        const float r1 = radius(sample);
        const bool moved = !(sample.point.x == before.point.x && sample.point.y == before.point.y);
        Point points[4];
        if (moved && wantQuad(c0, r0, c1, r1) && quadBetween(c0, r0, c1, r1, points)) quad(points);
        oval(circleRect(c1, r1));
        c0 = c1;
        r0 = r1;
    }
    return true;
}

std::unique_ptr<BezierPath> PenPoints::makePathWithCirclesAndSegments() const {
    auto path = std::make_unique<BezierPath>();
    // A circle (6 elements) and a quad (5) per sample.
    path->reserve(_pen_points.size() * 11);
    const bool made =
        forEachOutlinePart([&](const Rect& r) { path->appendBezierPathWithOvalInRect(r); },
                           [&](const Point* points) {
                               path->appendBezierPathWithPoints(points, 4);
                               path->closePath();
                           },
                           [](Point, float, Point, float) { return true; });
    return made ? std::move(path) : nullptr;
}

std::optional<Rect> PenPoints::outlineBounds() const {
    // The outline's bounds are the extreme points of its circles (each
    // quarter of a circle lies between its end points) and of its quads,
    // taken in double precision like the path's own bounds.
    double x0 = INFINITY, y0 = INFINITY, x1 = -INFINITY, y1 = -INFINITY;
    bool nan = false;
    auto add = [&](Point p) {
        const double x = double(p.x), y = double(p.y);
        if (std::isnan(x) || std::isnan(y)) nan = true;
        x0 = std::min(x0, x), y0 = std::min(y0, y);
        x1 = std::max(x1, x), y1 = std::max(y1, y);
    };
    // First the circles.
    const bool made = forEachOutlinePart(
        [&](const Rect& r) {
            const double cx = double(r.x) + double(r.width) / 2;
            const double cy = double(r.y) + double(r.height) / 2;
            const double rx = double(r.width) / 2, ry = double(r.height) / 2;
            add({float(cx + rx), float(cy)});
            add({float(cx), float(cy + ry)});
            add({float(cx - rx), float(cy)});
            add({float(cx), float(cy - ry)});
        },
        [](const Point*) {}, [](Point, float, Point, float) { return false; });
    if (!made) return std::nullopt;
    // Then the quads that could reach beyond them. A quad's corners lie on
    // its two circles, up to rounding: a circle that the box holds with a
    // margin far above that rounding cannot have a corner outside it.
    auto holds = [&](Point c, float r) {
        const double reach =
            std::fabs(double(r)) * (1 + 1e-5) +
            (std::fabs(double(c.x)) + std::fabs(double(c.y)) + std::fabs(double(r))) * 1e-6;
        return x0 <= c.x - reach && x1 >= c.x + reach && y0 <= c.y - reach && y1 >= c.y + reach;
    };
    forEachOutlinePart(
        [](const Rect&) {},
        [&](const Point* points) {
            for (int i = 0; i < 4; ++i) add(points[i]);
        },
        [&](Point c0, float r0, Point c1, float r1) { return !holds(c0, r0) || !holds(c1, r1); });
    if (nan) {
        const float n = std::numeric_limits<float>::quiet_NaN();
        return Rect{n, n, n, n};
    }
    return Rect{float(x0), float(y0), float(x1 - x0), float(y1 - y0)};
}

std::unique_ptr<BezierPath> PenPoints::makePathBasedOnTurnAngle() const {
    if (_pen_points.empty()) return nullptr;
    auto path = std::make_unique<BezierPath>();
    const float worldScale = scale();
    auto worldRadius = [&](std::size_t i) {
        return _radius * _pen_points[i].pressure / worldScale;
    };
    auto world = [&](std::size_t i) { return bitmapPointToWorldPoint(_pen_points[i].point); };
    auto unit = [](Point from, Point to) {
        const float dx = to.x - from.x, dy = to.y - from.y;
        const float d = std::sqrt(dx * dx + dy * dy);
        return d > 0 ? Point{dx / d, dy / d} : Point{0, 0};
    };
    auto circle = [&](Point c, float r) {
        path->appendBezierPathWithOvalInRect({c.x - r, c.y - r, 2 * r, 2 * r});
    };

    enum class State { Start, FirstSegment, InRun };
    State state = State::Start;
    std::vector<Point> left, right;
    Point runDirection;
    const std::size_t n = _pen_points.size();
    for (std::size_t i = 0; i < n; ++i) {
        const Point c = world(i);
        const float r = worldRadius(i);
        if (state == State::Start) {
            circle(c, r);
            state = State::FirstSegment;
            continue;
        }
        const Point p = world(i - 1);
        const Point dir = unit(p, c);
        if (state == State::FirstSegment) {
            const float rp = worldRadius(i - 1);
            left.push_back({p.x + dir.y * rp, p.y - dir.x * rp});
            right.push_back({p.x - dir.y * rp, p.y + dir.x * rp});
            runDirection = dir;
        }
        left.push_back({c.x + dir.y * r, c.y - dir.x * r});
        right.push_back({c.x - dir.y * r, c.y + dir.x * r});
        const bool last = i + 1 == n;
        bool turn = last;
        if (!last) {
            const Point e = unit(c, world(i + 1));
            turn = runDirection.x * e.x + runDirection.y * e.y <= 0.5f;
        }
        if (!turn) {
            state = State::InRun;
            continue;
        }
        // Right-hand offsets forward, left-hand ones back: counter-clockwise.
        path->moveToPoint(left.front());
        for (std::size_t k = 1; k < left.size(); ++k) path->lineToPoint(left[k]);
        for (auto it = right.rbegin(); it != right.rend(); ++it) path->lineToPoint(*it);
        path->closePath();
        left.clear();
        right.clear();
        state = State::FirstSegment;
        circle(c, r);
    }
    return path;
}

std::unique_ptr<BezierPath> PenPoints::makePathWithSegments() const {
    VIMO_ASSERT(0);
    return nullptr;
}

// Archive form: no keys, a fixed run of unkeyed values. A format byte (0),
// the six numbers of the mapping, the radius, the sample count as a signed
// 16-bit number, then per sample the steps from the previous position in
// tenths of a unit (16 bits each) and the pressure in 1/255 (8 bits). A trace
// of 32768 samples or more, or with a step beyond 3276.7 units, does not
// survive: the count and the steps wrap. That is the format's limit.
void PenPoints::encodeWithCoder(KeyedArchiver& coder) const {
    SequentialWriter& out = coder.sequentialValues();
    out.writeUInt8(0);
    for (float v :
         {_transform.a, _transform.b, _transform.c, _transform.d, _transform.tx, _transform.ty})
        out.writeFloat(v);
    out.writeFloat(_radius);
    const auto n = static_cast<std::int16_t>(static_cast<std::uint16_t>(_pen_points.size()));
    out.writeInt16(n);
    std::int64_t px = 0, py = 0;
    for (int i = 0; i < n; ++i) {
        const PenPoint& p = _pen_points[std::size_t(i)];
        const std::int64_t ix = truncToInt32(p.point.x * 10.0f);
        const std::int64_t iy = truncToInt32(p.point.y * 10.0f);
        out.writeInt16(static_cast<std::int16_t>(static_cast<std::uint16_t>(ix - px)));
        out.writeInt16(static_cast<std::int16_t>(static_cast<std::uint16_t>(iy - py)));
        out.writeUInt8(static_cast<std::uint8_t>(truncToInt32(p.pressure * 255.0f)));
        px = ix;
        py = iy;
    }
}

std::shared_ptr<Codable> PenPoints::initWithCoder(KeyedUnarchiver& coder) {
    SequentialReader& in = coder.sequentialValues();
    auto points = std::shared_ptr<PenPoints>(new PenPoints());
    in.readUInt8(); // format byte, only one format exists
    AffineMatrix& m = points->_transform;
    m.a = in.readFloat();
    m.b = in.readFloat();
    m.c = in.readFloat();
    m.d = in.readFloat();
    m.tx = in.readFloat();
    m.ty = in.readFloat();
    points->_radius = in.readFloat();
    const int n = in.readInt16();
    // Five bytes a sample: never more room than the values can fill.
    if (n > 0)
        points->_pen_points.reserve(std::min<std::uint64_t>(std::uint64_t(n), in.remaining() / 5));
    std::int32_t x = 0, y = 0;
    for (int i = 0; i < n; ++i) {
        x += in.readInt16();
        y += in.readInt16();
        const std::uint8_t p = in.readUInt8();
        points->addPointAt({float(x) / 10.0f, float(y) / 10.0f}, float(p) / 255.0f);
    }
    return points;
}
