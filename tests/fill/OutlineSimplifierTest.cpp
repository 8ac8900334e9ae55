#include "MaskPicture.h"

#include "fill/BitmapFill.h"
#include "fill/OutlineSimplifier.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using Points = std::vector<Point>;

Points pts(std::initializer_list<std::pair<float, float>> xy) {
    Points points;
    for (const auto& [x, y] : xy) points.push_back(Point{x, y});
    return points;
}

// A 1-pixel-high rectangle of the given length traced east along its top,
// then south, west and north: the eastward run ends in a right turn.
Points longBar(int length) {
    Points points;
    for (int x = 0; x <= length; ++x) points.push_back(Point{float(x), 0});
    for (int x = length; x >= 0; --x) points.push_back(Point{float(x), -1});
    return points;
}

Points simplifiedOutside(Points points) {
    OutlineSimplifier::simplifyPointsOnOutside(points);
    return points;
}

// A random blob of about half the pixels, traced from its lowest, then
// leftmost pixel (so that pixel's 4-connected region is the one traced).
struct Blob {
    std::unique_ptr<Bitmap> mask;
    Points outline;
    int sx = 0, sy = 0;
};

Blob randomBlob(std::mt19937& rng, int w, int h) {
    Blob blob;
    blob.mask = emptyMask(w, h);
    std::bernoulli_distribution on(0.6);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (on(rng)) blob.mask->at(x, y) = RED;
    for (int y = 0; y < h && blob.outline.empty(); ++y)
        for (int x = 0; x < w && blob.outline.empty(); ++x)
            if (blob.mask->at(x, y) == RED) {
                blob.sx = x;
                blob.sy = y;
                BitmapFill(*blob.mask)
                    .clockwiseOutlineFrom(Point{float(x), float(y)}, blob.outline);
            }
    return blob;
}

// Even-odd crossing test of a point that lies on no edge.
bool inside(const Points& polygon, float px, float py) {
    bool in = false;
    for (std::size_t i = 0, j = polygon.size() - 1; i < polygon.size(); j = i++) {
        const Point a = polygon[i], b = polygon[j];
        if ((a.y > py) != (b.y > py) && px < (b.x - a.x) * (py - a.y) / (b.y - a.y) + a.x) in = !in;
    }
    return in;
}

} // namespace

TEST(OutlineSimplifier, LeavesSmallAndConvexOutlinesAlone) {
    const Points square = pts({{6, 5}, {6, 6}, {5, 6}, {5, 5}});
    EXPECT_EQ(simplifiedOutside(square), square);
    const Points triangle = pts({{0, 0}, {1, 0}, {1, 1}});
    EXPECT_EQ(simplifiedOutside(triangle), triangle);
    // Steps that are not one unit long are never joined.
    const Points coarse = pts({{0, 0}, {2, 0}, {2, 2}, {4, 2}, {4, 4}, {0, 4}});
    EXPECT_EQ(simplifiedOutside(coarse), coarse);
}

TEST(OutlineSimplifier, JoinsStaircasesAndRunsIntoSlantingEdges) {
    // A staircase east, south, east, south becomes one diagonal.
    const Points stairs = simplifiedOutside(pts({{0, 0},
                                                 {1, 0},
                                                 {1, -1},
                                                 {2, -1},
                                                 {2, -2},
                                                 {3, -2},
                                                 {3, -3},
                                                 {2, -3},
                                                 {1, -3},
                                                 {0, -3},
                                                 {0, -2},
                                                 {0, -1}}));
    EXPECT_EQ(stairs, pts({{0, 0}, {1, -1}, {2, -2}, {3, -3}, {0, -2}}));

    // The L traced from the bottom left: straight runs lose their inner
    // points, and the concave corner is cut by the edge (3, 1)-(1, 2),
    // which passes outside the filled pixels.
    const Points l = simplifiedOutside(pts({{1, 0},
                                            {2, 0},
                                            {3, 0},
                                            {3, 1},
                                            {2, 1},
                                            {1, 1},
                                            {1, 2},
                                            {1, 3},
                                            {0, 3},
                                            {0, 2},
                                            {0, 1},
                                            {0, 0}}));
    EXPECT_EQ(l, pts({{1, 0}, {3, 0}, {3, 1}, {1, 2}, {1, 3}, {0, 3}, {0, 0}}));
}

TEST(OutlineSimplifier, JoinsAtMostTenPointsAndLongerRunsFiveAtATime) {
    // A run of 10 steps and its turn: 10 points joined at once.
    EXPECT_EQ(simplifiedOutside(longBar(10))[1], (Point{10, -1}));
    // 11 points would be joined: only 5 are.
    EXPECT_EQ(simplifiedOutside(longBar(11))[1], (Point{6, 0}));
    // 20 steps east shrink by 5, 5, then the rest with the turn; the same
    // happens westward along the bottom, and the last removal wraps round.
    EXPECT_EQ(simplifiedOutside(longBar(20)),
              pts({{0, 0}, {6, 0}, {12, 0}, {20, -1}, {14, -1}, {8, -1}}));
}

TEST(OutlineSimplifier, InsideIsTheMirrorImageOfOutside) {
    std::mt19937 rng(7);
    for (int round = 0; round < 60; ++round) {
        const Blob blob = randomBlob(rng, 3 + int(rng() % 12), 3 + int(rng() % 12));
        Points mirrored = blob.outline;
        for (auto& p : mirrored) p.x = -p.x;
        OutlineSimplifier::simplifyPointsOnInside(mirrored);
        for (auto& p : mirrored) p.x = -p.x;
        EXPECT_EQ(mirrored, simplifiedOutside(blob.outline)) << "round " << round;
    }
}

TEST(OutlineSimplifier, OutsideSimplificationNeverUncoversAFilledPixel) {
    std::mt19937 rng(11);
    for (int round = 0; round < 150; ++round) {
        const int w = 2 + int(rng() % 20), h = 2 + int(rng() % 20);
        Blob blob = randomBlob(rng, w, h);
        if (blob.outline.empty()) continue;
        const Points simple = simplifiedOutside(blob.outline);
        ASSERT_LE(simple.size(), blob.outline.size());
        // Mark the traced region so its pixels can be told apart.
        BitmapFill(*blob.mask)
            .floodFillAt(Point{float(blob.sx), float(blob.sy)}, GREEN,
                         Rect{0, 0, float(w), float(h)});
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (blob.mask->at(x, y) == GREEN) {
                    ASSERT_TRUE(inside(simple, float(x) + 0.5f, float(y) + 0.5f))
                        << "round " << round << ": pixel " << x << ", " << y;
                }
    }
}
