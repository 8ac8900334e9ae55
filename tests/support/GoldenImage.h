#pragma once

#include <gtest/gtest.h>

#include <string>

class Bitmap;

// Compares a bitmap with the golden image tests/data/golden/<name>.png.
//
// The PNG holds the bitmap's bytes exactly as stored (premultiplied r, g, b,
// a), upright: the bitmap's top row is the image's top row. tolerance is the
// largest difference allowed in any channel of any pixel: 0 for integer
// pixel code, a few units for antialiased drawing.
//
// On a mismatch the actual image and a diff image are written to the build
// folder (tests/output/<name>.actual.png and <name>.diff.png; in the diff,
// red marks pixels beyond the tolerance, yellow pixels that differ within
// it). With VIMO_UPDATE_GOLDEN=1 in the environment the golden is rewritten
// from the bitmap instead and the comparison passes.
::testing::AssertionResult matchesGolden(const Bitmap& bitmap, const std::string& name,
                                         int tolerance = 0);
