#include "model/AffineTransform.h"

#include <numbers>

void AffineTransform::rotateByDegrees(float degrees) {
    rotateByRadians(static_cast<float>(double(degrees) * std::numbers::pi / 180.0));
}

Point AffineTransform::transformSize(Point v) const {
    const double x = v.x, y = v.y;
    return {static_cast<float>(double(_m.a) * x + double(_m.c) * y),
            static_cast<float>(double(_m.b) * x + double(_m.d) * y)};
}

AffineTransform CGTransformToNSTransform(const AffineMatrix& m) {
    return AffineTransform(m);
}

AffineMatrix NSTransformToCGTransform(const AffineTransform* t) {
    return t ? t->transformStruct() : AffineMatrix::zero();
}
