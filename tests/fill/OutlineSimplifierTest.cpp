#include "MaskPicture.h"

#include "fill/OutlineSimplifier.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using Points = std::vector<Point>;

// Points from a flat list x0, y0, x1, y1, ...
Points pts(std::initializer_list<float> xy) {
    Points points;
    for (auto i = xy.begin(); i != xy.end(); i += 2) points.push_back(Point{i[0], i[1]});
    return points;
}

Points outside(Points p) {
    OutlineSimplifier::simplifyPointsOnOutside(p);
    return p;
}

// A 1-pixel-high bar traced east along its top, then south, west, north.
Points bar(int length) {
    Points points;
    for (int x = 0; x <= length; ++x) points.push_back(Point{float(x), 0});
    for (int x = length; x >= 0; --x) points.push_back(Point{float(x), -1});
    return points;
}

} // namespace

TEST(OutlineSimplifier, JoinsRightTurnsAndStraightRuns) {
    const Points square = pts({6, 5, 6, 6, 5, 6, 5, 5});
    EXPECT_EQ(outside(square), square);
    EXPECT_EQ(outside(pts({0, 0,  1, 0,  1, -1, 2, -1, 2, -2, 3, -2,
                           3, -3, 2, -3, 1, -3, 0, -3, 0, -2, 0, -1})),
              pts({0, 0, 1, -1, 2, -2, 3, -3, 0, -2}));
    // The L traced from the bottom left: the concave corner is cut by
    // (3, 1)-(1, 2), outside the filled pixels.
    EXPECT_EQ(
        outside(pts({1, 0, 2, 0, 3, 0, 3, 1, 2, 1, 1, 1, 1, 2, 1, 3, 0, 3, 0, 2, 0, 1, 0, 0})),
        pts({1, 0, 3, 0, 3, 1, 1, 2, 1, 3, 0, 3, 0, 0}));
}

TEST(OutlineSimplifier, JoinsAtMostTenPointsAndLongerRunsFiveAtATime) {
    EXPECT_EQ(outside(bar(10))[1], (Point{10, -1}));
    EXPECT_EQ(outside(bar(11))[1], (Point{6, 0}));
    // East 5, 5, then the rest with the turn; the same westward, where the
    // last removal wraps round the end of the array.
    EXPECT_EQ(outside(bar(20)), pts({0, 0, 6, 0, 12, 0, 20, -1, 14, -1, 8, -1}));
}

TEST(OutlineSimplifier, InsideIsTheMirrorImageOfOutside) {
    std::mt19937 rng(11);
    std::bernoulli_distribution on(0.6);
    for (int round = 0; round < 150; ++round) {
        const int w = 2 + int(rng() % 20), h = 2 + int(rng() % 20);
        auto mask = emptyMask(w, h);
        for (int i = 0; i < w * h; ++i) mask->pixels()[i] = on(rng) ? RED : 0;
        // Trace from a pixel of the lowest row that has any.
        int s = w * h - 1;
        while (s >= 0 && mask->pixels()[s] != RED) --s;
        if (s < 0) continue;
        Points outline;
        BitmapFill(*mask).clockwiseOutlineFrom(Point{float(s % w), float(h - 1 - s / w)}, outline);

        Points mirrored = outline;
        for (auto& p : mirrored) p.x = -p.x;
        OutlineSimplifier::simplifyPointsOnInside(mirrored);
        for (auto& p : mirrored) p.x = -p.x;
        ASSERT_EQ(mirrored, outside(outline)) << "round " << round;
    }
}
