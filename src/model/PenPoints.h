#pragma once
// Kept in the model layer (not pens/) because Stroke owns one and layers only depend downward.

#include "model/Codable.h"
#include "raster/AffineMatrix.h"
#include "raster/Geometry.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

class AffineTransform;
class BezierPath;
class KeyedArchiver;
class KeyedUnarchiver;

// One recorded pen sample: a position in the bitmap coordinates of the canvas
// at sampling time and the pen pressure (0..1, 1 for a mouse).
struct PenPoint {
    Point point;
    float pressure = 0;
    friend bool operator==(const PenPoint&, const PenPoint&) = default;
};

// The recorded trace of one stroke of the built-in pen: the samples, the
// world-to-bitmap mapping in which they were taken and the pen radius (bitmap
// units, at full pressure). Transforming the stroke changes only the mapping,
// so samples stay where they were taken and archive compactly. Everything is
// computed in single precision, except the mapping back to world coordinates.
class PenPoints : public Codable {
public:
    PenPoints(const AffineMatrix& transform, float radius);
    static std::shared_ptr<Codable> initWithCoder(KeyedUnarchiver& coder);

    const AffineMatrix& transform() const { return _transform; }
    void setTransform(const AffineMatrix& t) { _transform = t; }
    float radius() const { return _radius; }
    void setRadius(float r) { _radius = r; }

    void addPointAt(Point p, float pressure) { _pen_points.push_back({p, pressure}); }
    int count() const { return int(_pen_points.size()); }
    const std::vector<PenPoint>& points() const { return _pen_points; }
    // The last sample's position and pressure; only with count() > 0.
    Point lastPoint() const;
    float lastPressure() const;

    // Cleans the trace once at pen-up: fills gaps along a fitted cubic,
    // averages clusters of close samples, then rounds every value to the
    // precision the archive keeps (tenths of a unit, 1/255 of pressure).
    void simplify();
    // The filled outline: a circle at every sample and the quadrilateral
    // between the outer tangents of each pair of consecutive distinct samples,
    // all counter-clockwise so that a non-zero fill gives their union.
    // nullptr without samples.
    std::unique_ptr<BezierPath> buildPath() const;
    // The bounds of the outline buildPath() makes, exactly, without making
    // it; none when it makes none.
    std::optional<Rect> outlineBounds() const;
    // The mapping becomes: first the inverse of t, then the old mapping.
    void transformUsingAffineTransform(const AffineTransform& t);

    std::string archiveClassName() const override { return "PenPoints"; }
    void encodeWithCoder(KeyedArchiver& coder) const override;

    // Internal: the steps of simplify() and buildPath(), and alternatives that
    // are kept but not used.
    Point bitmapPointToWorldPoint(Point p) const;
    // Length of the mapped x unit vector: bitmap units per world unit.
    float scale() const;
    void smoothByBezierInterpolation();
    void simplifyByAveraging();
    // Alternative thinning: drops samples lying close to the line between
    // their neighbours. Not used.
    void simplifyByLinearInterpolation();
    // The quadrilateral between the outer tangents of the two samples'
    // circles; false (points untouched) when they coincide in world space.
    bool quadForStrokeFrom(const PenPoint& from, const PenPoint& to, Point points[4]) const;
    std::unique_ptr<BezierPath> makePathWithCirclesAndSegments() const;
    // Calls oval(rect) for every circle and quad(points[4]) for every
    // tangent quad of the outline, in path order, leaving out the quads
    // between two circles for which wantQuad(c0, r0, c1, r1) is false; false
    // when the samples make no outline.
    template <class Oval, class Quad, class WantQuad>
    bool forEachOutlinePart(Oval&& oval, Quad&& quad, WantQuad&& wantQuad) const;
    // The tangent quad between two circles (world centres and radii); false
    // when the centres coincide.
    static bool quadBetween(Point a, float ra, Point b, float rb, Point points[4]);
    // Alternative outline: polygons along nearly straight runs. Not used.
    std::unique_ptr<BezierPath> makePathBasedOnTurnAngle() const;
    // Never written; stops the program if called.
    std::unique_ptr<BezierPath> makePathWithSegments() const;

private:
    PenPoints() = default;

    AffineMatrix _transform;
    float _radius = 0;
    std::vector<PenPoint> _pen_points;
};
