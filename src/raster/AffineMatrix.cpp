#include "raster/AffineMatrix.h"

#include <cmath>

namespace {
AffineMatrix fromDoubles(double a, double b, double c, double d, double tx, double ty) {
    return {static_cast<float>(a), static_cast<float>(b),  static_cast<float>(c),
            static_cast<float>(d), static_cast<float>(tx), static_cast<float>(ty)};
}
} // namespace

AffineMatrix AffineMatrix::makeRotation(float radians) {
    const double s = std::sin(static_cast<double>(radians));
    const double co = std::cos(static_cast<double>(radians));
    return fromDoubles(co, s, -s, co, 0, 0);
}

Point AffineMatrix::apply(Point p) const {
    const double x = p.x, y = p.y;
    return {static_cast<float>(double(a) * x + double(c) * y + double(tx)),
            static_cast<float>(double(b) * x + double(d) * y + double(ty))};
}

AffineMatrix AffineMatrix::inverted() const {
    const double det = double(a) * double(d) - double(b) * double(c);
    if (det == 0 || !std::isfinite(det)) return *this;
    const double ia = double(d) / det, ib = -double(b) / det;
    const double ic = -double(c) / det, id = double(a) / det;
    return fromDoubles(ia, ib, ic, id, -(ia * double(tx) + ic * double(ty)),
                       -(ib * double(tx) + id * double(ty)));
}

AffineMatrix AffineMatrix::concat(const AffineMatrix& t) const {
    const double A = a, B = b, C = c, D = d, X = tx, Y = ty;
    const double ta = t.a, tb = t.b, tc = t.c, td = t.d;
    return fromDoubles(A * ta + B * tc, A * tb + B * td, C * ta + D * tc, C * tb + D * td,
                       X * ta + Y * tc + double(t.tx), X * tb + Y * td + double(t.ty));
}

AffineMatrix AffineMatrix::translated(float dx, float dy) const {
    return makeTranslation(dx, dy).concat(*this);
}

AffineMatrix AffineMatrix::scaled(float sx, float sy) const {
    return makeScale(sx, sy).concat(*this);
}

AffineMatrix AffineMatrix::rotated(float radians) const {
    return makeRotation(radians).concat(*this);
}

float AffineMatrix::scaleFactor() const {
    return static_cast<float>(std::sqrt(double(a) * double(a) + double(b) * double(b)));
}
