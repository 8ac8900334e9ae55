#pragma once

#include "model/AffineTransform.h"
#include "raster/Geometry.h"
#include "raster/PathElement.h"

#include <span>
#include <vector>

// An editable vector path of move/line/curve/close elements with a line
// width, line join and winding rule. Its elements are PathElements, so a
// raster Path is built from elements() without conversion. A line or curve
// with no move before it is kept but, as a graphics context does, ignored in
// bounds and containment.
class BezierPath {
public:
    enum class LineJoin { Miter = 0, Round = 1, Bevel = 2 };

    BezierPath() = default;

    static BezierPath bezierPathWithRect(const Rect& r);
    static BezierPath bezierPathWithOvalInRect(const Rect& r);

    // Building.
    void moveToPoint(Point p);
    void lineToPoint(Point p);
    void curveToPoint(Point end, Point control1, Point control2);
    void closePath();
    void appendBezierPathWithRect(const Rect& r);
    // Room for this many elements without growing.
    void reserve(std::size_t elements) { _elements.reserve(elements); }
    // The oval inscribed in r as four cubic arcs, counter-clockwise from the
    // rightmost point, closed.
    void appendBezierPathWithOvalInRect(const Rect& r);
    // A move to the first point when the path is empty or its last subpath is
    // closed, otherwise a line to it; then lines to the others.
    void appendBezierPathWithPoints(const Point* points, int count);
    void appendBezierPath(const BezierPath& other);
    void removeAllPoints() { _elements.clear(); }

    // Elements.
    int elementCount() const { return int(_elements.size()); }
    bool isEmpty() const { return _elements.empty(); }
    PathElementType elementAtIndex(int index, Point* associatedPoints = nullptr) const;
    const PathElement& element(int index) const { return _elements[std::size_t(index)]; }
    std::span<const PathElement> elements() const { return _elements; }
    // The last point added (the zero point for an empty path); after a close,
    // the start of the closed subpath.
    Point currentPoint() const;

    // Attributes.
    float lineWidth() const { return _line_width; }
    void setLineWidth(float w) { _line_width = w; }
    LineJoin lineJoinStyle() const { return _line_join; }
    void setLineJoinStyle(LineJoin j) { _line_join = j; }
    WindingRule windingRule() const { return _winding_rule; }
    void setWindingRule(WindingRule r) { _winding_rule = r; }

    // Geometry.
    // Bounds of the curve itself (curves measured at their extremes); the
    // zero rectangle for an empty path.
    Rect bounds() const;
    // Bounds of every point including control points.
    Rect controlPointBounds() const;
    // Whether p lies inside the filled path under its winding rule.
    bool containsPoint(Point p) const;
    // The signed number of times the filled outline winds around p
    // (counter-clockwise with y up counts positive); open subpaths are closed
    // as a fill closes them.
    int windingCountAtPoint(Point p) const;
    void transformUsingAffineTransform(const AffineTransform& t);

    friend bool operator==(const BezierPath&, const BezierPath&) = default;

private:
    std::vector<PathElement> _elements;
    float _line_width = 1;
    LineJoin _line_join = LineJoin::Miter;
    WindingRule _winding_rule = NonZeroWindingRule;
};
