#pragma once

#include "raster/Geometry.h"

#include <cstdint>

// One element of a path. Move-to and line-to use points[0]; curve-to uses
// points[0] and points[1] as control points and points[2] as its end point;
// close-path uses none.
enum PathElementType : std::int32_t {
    MoveToElement = 0,
    LineToElement = 1,
    CurveToElement = 2,
    ClosePathElement = 3,
};

struct PathElement {
    std::int32_t type = MoveToElement;
    Point points[3] = {};
    friend bool operator==(const PathElement&, const PathElement&) = default;
};

enum WindingRule : unsigned int {
    NonZeroWindingRule = 0,
    EvenOddWindingRule = 1,
};
