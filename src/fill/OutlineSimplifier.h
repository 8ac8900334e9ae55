#pragma once

#include "raster/Geometry.h"

#include <vector>

// Shortens the closed polygons the outline tracer makes (one point per unit
// edge) by joining staircases and straight runs into slanting edges, in one
// pass over the points, changing the array in place.
//
// Outside simplification joins runs that end in a right turn. With the
// region on the left of the traced direction those are its concave corners,
// so every new edge passes outside the filled pixels and the simplified
// outline never cuts into the fill. Inside simplification is its mirror
// image (left turns, edges across the convex corners, inside the region).
//
// At point i, with d0 the step from point i and d1 the next one:
// - a right turn (d1 = d0 turned right) joins the run of steps in d1's
//   direction that follows;
// - a straight step joins the run of d0 steps that follows, plus one more
//   point when that run ends in a right turn;
// - anything else (a left turn, a reversal, a step that is no longer one
//   unit) joins nothing.
// Joining k points removes the k points after point i; more than 10 are cut
// to 5, so long runs are shortened five at a time as the pass moves on and
// long straight edges stay close to the pixels. Polygons of fewer than four
// points are left alone.
class OutlineSimplifier {
public:
    static void simplifyPointsOnOutside(std::vector<Point>& points);
    static void simplifyPointsOnInside(std::vector<Point>& points);

private:
    // turn is 3 to join right turns, 1 to join left turns (directions are
    // east 0, north 1, west 2, south 3).
    static void simplify(std::vector<Point>& points, int turn);
};
