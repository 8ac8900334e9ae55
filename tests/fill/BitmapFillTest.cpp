#include "MaskPicture.h"

#include <gtest/gtest.h>

namespace {

using Points = std::vector<Point>;

// Reference pixels against the seed colour 'a': b, c red + 51, 52; d alpha
// - 51; e, f red + 30, 60 (words read r, g, b, a from the low byte up).
const Legend kPicture{{'a', 0xFF808080u}, {'b', 0xFF8080B3u}, {'c', 0xFF8080B4u},
                      {'d', 0xCC808080u}, {'e', 0xFF80809Eu}, {'f', 0xFF8080BCu},
                      {'X', BLACK},       {'.', WHITE}};

Picture filled(const Picture& reference, Point seed, float tolerance, Rect* bounds = nullptr) {
    const auto ref = bitmapFrom(reference, kPicture);
    auto mask = emptyMask(ref->width(), ref->height());
    const Rect r = BitmapFill(*mask).floodFill(*ref, seed, RED, tolerance);
    if (bounds) *bounds = r;
    return pictureOf(*mask);
}

Points traced(const Picture& mask, Point start) {
    Points outline;
    BitmapFill(*bitmapFrom(mask)).clockwiseOutlineFrom(start, outline);
    return outline;
}

// Points from a flat list x0, y0, x1, y1, ...
Points corners(std::initializer_list<float> xy) {
    Points points;
    for (auto i = xy.begin(); i != xy.end(); i += 2) points.push_back(Point{i[0], i[1]});
    return points;
}

} // namespace

TEST(FloodFill, ToleranceIsTheLargestChannelDistanceFromTheSeed) {
    const Picture ref{"abcba", "aXXXb", "adaXa"};
    Rect bounds;
    EXPECT_EQ(filled(ref, Point{0.7f, 0.2f}, 0, &bounds), (Picture{"#....", "#....", "#...."}));
    EXPECT_EQ(bounds, (Rect{0, 0, 1, 3}));
    // 51 / 255 is not greater than 0.2, 52 / 255 is; alpha counts too.
    EXPECT_EQ(filled(ref, Point{0, 0}, 0.2f, &bounds), (Picture{"##...", "#....", "###.."}));
    EXPECT_EQ(bounds, (Rect{0, 0, 3, 3}));
    // Compared with the seed, not the neighbour: a gradient does not carry.
    EXPECT_EQ(filled({"aefa"}, Point{0, 0}, 0.2f), (Picture{"##.."}));
    // Negative refuses even the seed's colour (the seed is written anyway);
    // the seed is clamped into the bitmap.
    EXPECT_EQ(filled({"aa", "aa"}, Point{-40, 1e9f}, -0.1f), (Picture{"#.", ".."}));
}

TEST(FloodFillAt, FillsEqualPixelsInsideTheInclusiveLimit) {
    auto mask = bitmapFrom({"......", "......", "...#..", "......", "......"});
    // Columns 1 .. 4 and rows 1 .. 3, both ends included.
    BitmapFill(*mask).floodFillAt(Point{4.9f, 2.5f}, BitmapFill::HOLE_MARK, Rect{1, 1, 3.5f, 2});
    EXPECT_EQ(pictureOf(*mask), (Picture{"......", ".oooo.", ".oo#o.", ".oooo.", "......"}));
}

TEST(Expand, GrowsOnlyTowardDiagonalNeighboursInsideTheWidenedArea) {
    // An isolated pixel grows into an X; the area reaches 1 further left and
    // down, 2 further right and up, so (2, 2, 0, 0) covers rows and columns
    // 1 .. 4 and misses (0, 0).
    auto dot = bitmapFrom({".....", "..#..", ".....", "....."});
    BitmapFill(*dot).expand(Rect{2, 2, 0, 0}, RED);
    EXPECT_EQ(pictureOf(*dot), (Picture{".#.#.", "..#..", ".#.#.", "....."}));
    // A straight edge grows by one; the bar's ends see no neighbour filled
    // before the pass.
    auto bar = bitmapFrom({".......", "..###..", "......."});
    BitmapFill(*bar).expand(Rect{0, 0, 7, 3}, RED);
    EXPECT_EQ(pictureOf(*bar), (Picture{".#####.", "..###..", ".#####."}));
    // Neighbours in the last column or the top row never count; words that
    // are not zero stay, even transparent ones.
    const Legend legend{{'.', 0}, {'#', RED}, {'t', 0x00112233u}};
    auto edges = bitmapFrom({"..#..", "t...#", ".#...", "....."}, legend);
    BitmapFill(*edges).expand(Rect{0, 0, 5, 4}, RED);
    EXPECT_EQ(pictureOf(*edges, legend), (Picture{"..#..", "t.#.#", ".#...", "#.#.."}));
}

TEST(FindHoles, CornersFirstThenEachHoleByItsLowestLeftmostPixel) {
    auto ring =
        bitmapFrom({".......", ".#####.", ".#...#.", ".#.#.#.", ".#...#.", ".#####.", "......."});
    Points holes;
    BitmapFill(*ring).findHolesInRect(Rect{0, 0, 6, 6}, holes);
    EXPECT_EQ(holes, corners({2, 2}));
    EXPECT_EQ(pictureOf(*ring), (Picture{"ooooooo", "o#####o", "o#ooo#o", "o#o#o#o", "o#ooo#o",
                                         "o#####o", "ooooooo"}));
    // Rows upward, columns rightward; an area on the border away from the
    // corners counts; the area is clamped and nothing outside it changes.
    auto several = bitmapFrom({"##.###.", "#.##.#.", "######.", "#..###.", "######."});
    holes.clear();
    BitmapFill(*several).findHolesInRect(Rect{-3, -3, 8, 99}, holes);
    EXPECT_EQ(holes, corners({1, 1, 1, 3, 4, 3, 2, 4}));
    EXPECT_EQ(pictureOf(*several),
              (Picture{"##o###.", "#o##o#.", "######.", "#oo###.", "######."}));
}

TEST(ClockwiseOutline, OnePointPerUnitEdgeWithTheRegionOnTheLeft) {
    Picture dot(10, std::string(10, '.'));
    dot[4][5] = '#'; // pixel (5, 5)
    EXPECT_EQ(traced(dot, Point{5, 5}), corners({6, 5, 6, 6, 5, 6, 5, 5}));
    dot[4][6] = '#';
    EXPECT_EQ(traced(dot, Point{5.5f, 5.9f}), corners({6, 5, 7, 5, 7, 6, 6, 6, 5, 6, 5, 5}));
    // Concave corners, and outside the bitmap is never in the region.
    EXPECT_EQ(traced({"#..", "#..", "###"}, Point{0, 0}),
              corners({1, 0, 2, 0, 3, 0, 3, 1, 2, 1, 1, 1, 1, 2, 1, 3, 0, 3, 0, 2, 0, 1, 0, 0}));
    // The region is the start's word: a marked hole is traced on its own.
    EXPECT_EQ(traced({"####", "#oo#", "####"}, Point{1, 1}),
              corners({2, 1, 3, 1, 3, 2, 2, 2, 1, 2, 1, 1}));
}
