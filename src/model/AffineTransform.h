#pragma once

#include "raster/AffineMatrix.h"
#include "raster/Geometry.h"

// A mutable affine transform, the object form of AffineMatrix used by the
// drawing model (strokes, pen points, the document's view transform).
// Operations that modify the receiver follow the usual "prepend the new step"
// rule: after translateXBy the transform first translates, then applies what
// it held before.
class AffineTransform {
public:
    AffineTransform() = default;
    explicit AffineTransform(const AffineMatrix& m) : _m(m) {}

    const AffineMatrix& transformStruct() const { return _m; }
    void setTransformStruct(const AffineMatrix& m) { _m = m; }

    void translateXBy(float dx, float dy) { _m = _m.translated(dx, dy); }
    void rotateByRadians(float radians) { _m = _m.rotated(radians); }
    void rotateByDegrees(float degrees);
    void scaleBy(float s) { _m = _m.scaled(s, s); }
    void scaleXBy(float sx, float sy) { _m = _m.scaled(sx, sy); }
    // Inverts in place; a singular transform stays as it is.
    void invert() { _m = _m.inverted(); }
    // this := this followed by other
    void appendTransform(const AffineTransform& other) { _m = _m.concat(other._m); }
    // this := other followed by this
    void prependTransform(const AffineTransform& other) { _m = other._m.concat(_m); }

    Point transformPoint(Point p) const { return _m.apply(p); }
    // Maps a vector (no translation).
    Point transformSize(Point v) const;

    friend bool operator==(const AffineTransform&, const AffineTransform&) = default;

private:
    AffineMatrix _m;
};

// Conversions between the object and the plain matrix; a missing transform
// converts to all zeros, not the identity (callers pass a real transform).
AffineTransform CGTransformToNSTransform(const AffineMatrix& m);
AffineMatrix NSTransformToCGTransform(const AffineTransform* t);
