#pragma once

#include "raster/Geometry.h"

// An affine matrix of six single-precision numbers. A point maps as
//   x' = a*x + c*y + tx,   y' = b*x + d*y + ty.
// Every operation computes in double precision from the stored floats and
// rounds its results back to float, so that results are the same whichever
// way they are reached.
struct AffineMatrix {
    float a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;

    static AffineMatrix identity() { return {}; }
    static AffineMatrix zero() { return {0, 0, 0, 0, 0, 0}; }
    static AffineMatrix makeTranslation(float dx, float dy) { return {1, 0, 0, 1, dx, dy}; }
    static AffineMatrix makeScale(float sx, float sy) { return {sx, 0, 0, sy, 0, 0}; }
    static AffineMatrix makeRotation(float radians);

    bool isIdentity() const { return *this == identity(); }

    Point apply(Point p) const;
    // The inverse; a singular matrix is returned unchanged.
    AffineMatrix inverted() const;
    // first applies this, then then_
    AffineMatrix concat(const AffineMatrix& then_) const;

    // Each of these applies its own step first and then this matrix, as a
    // graphics context does when the step is applied to its current matrix.
    AffineMatrix translated(float dx, float dy) const;
    AffineMatrix scaled(float sx, float sy) const;
    AffineMatrix rotated(float radians) const;

    // sqrt(a*a + b*b): the length of the mapped x unit vector.
    float scaleFactor() const;

    friend bool operator==(const AffineMatrix&, const AffineMatrix&) = default;
};
