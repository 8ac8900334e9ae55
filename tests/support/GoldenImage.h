#pragma once

#include <gtest/gtest.h>

#include <string>

class Bitmap;

// Compares a bitmap with tests/data/golden/<name>.png, which holds its bytes
// as stored (premultiplied r, g, b, a), top row first. tolerance is the
// largest difference allowed in any channel. A mismatch writes
// <name>.actual.png and <name>.diff.png (red: beyond the tolerance, yellow:
// within it) to tests/output in the build folder; VIMO_UPDATE_GOLDEN=1
// rewrites the golden instead.
::testing::AssertionResult matchesGolden(const Bitmap& bitmap, const std::string& name,
                                         int tolerance = 0);
