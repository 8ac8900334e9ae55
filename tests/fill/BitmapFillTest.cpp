#include "MaskPicture.h"

#include "fill/BitmapFill.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using Points = std::vector<Point>;

// The seed colour and pixels that differ from it in one channel by the
// given amount (premultiplied words, bytes r, g, b, a from the low end).
constexpr std::uint32_t GREY = 0xFF808080u;
const Legend kReference{{'a', GREY},        {'b', 0xFF8080B3u}, // red + 51
                        {'c', 0xFF8080B4u},                     // red + 52
                        {'d', 0xCC808080u},                     // alpha - 51
                        {'e', 0xFF80809Eu},                     // red + 30
                        {'f', 0xFF8080BCu}, // red + 60: within 30 of 'e', not of the seed
                        {'X', BLACK},       {'.', WHITE}};

Points tracedFrom(const Bitmap& mask, Point start) {
    Bitmap& m = const_cast<Bitmap&>(mask);
    Points outline;
    BitmapFill(m).clockwiseOutlineFrom(start, outline);
    return outline;
}

Points corners(std::initializer_list<std::pair<int, int>> xy) {
    Points points;
    for (const auto& [x, y] : xy) points.push_back(Point{float(x), float(y)});
    return points;
}

} // namespace

TEST(FloodFill, ToleranceIsTheLargestChannelDistanceFromTheSeed) {
    const auto reference = bitmapFrom({"abcba", //
                                       "aXXXb", //
                                       "adaXa"},
                                      kReference);
    auto exact = emptyMask(5, 3);
    EXPECT_EQ(BitmapFill(*exact).floodFill(*reference, Point{0.7f, 0.2f}, RED, 0),
              (Rect{0, 0, 1, 3}));
    EXPECT_EQ(pictureOf(*exact), (Picture{"#....", "#....", "#...."}));

    // 51 / 255 is not greater than 0.2; 52 / 255 is. Alpha counts like the
    // colour channels.
    auto tolerant = emptyMask(5, 3);
    EXPECT_EQ(BitmapFill(*tolerant).floodFill(*reference, Point{0, 0}, RED, 0.2f),
              (Rect{0, 0, 3, 3}));
    EXPECT_EQ(pictureOf(*tolerant), (Picture{"##...", "#....", "###.."}));

    // Each pixel is compared with the seed, not with its neighbour, so a
    // gradient does not carry the fill along.
    const auto gradient = bitmapFrom({"aefa"}, kReference);
    auto mask = emptyMask(4, 1);
    BitmapFill(*mask).floodFill(*gradient, Point{0, 0}, RED, 0.2f);
    EXPECT_EQ(pictureOf(*mask), (Picture{"##.."}));
}

TEST(FloodFill, ToleranceExtremesAndFillColours) {
    const auto reference = bitmapFrom({"aXa", "abX"}, kReference);
    auto all = emptyMask(3, 2);
    EXPECT_EQ(BitmapFill(*all).floodFill(*reference, Point{0, 0}, RED, 1), (Rect{0, 0, 3, 2}));
    EXPECT_EQ(pictureOf(*all), (Picture{"###", "###"}));

    // A negative tolerance refuses even the seed's own colour; the seed is
    // written all the same.
    auto none = emptyMask(3, 2);
    EXPECT_EQ(BitmapFill(*none).floodFill(*reference, Point{0, 1}, RED, -0.1f), (Rect{0, 1, 1, 1}));
    EXPECT_EQ(pictureOf(*none), (Picture{"#..", "..."}));

    // NaN compares false: nothing is "greater than" it, so all is accepted.
    auto nan = emptyMask(3, 2);
    BitmapFill(*nan).floodFill(*reference, Point{0, 0}, RED,
                               std::numeric_limits<float>::quiet_NaN());
    EXPECT_EQ(pictureOf(*nan), (Picture{"###", "###"}));

    // Any colour with alpha counts as filled; one without marks the seed only.
    const Legend marks{{'.', 0}, {'m', 0x01000000u}, {'t', 0x00FFFFFFu}};
    auto faint = emptyMask(3, 2);
    BitmapFill(*faint).floodFill(*reference, Point{0, 0}, 0x01000000u, 0);
    EXPECT_EQ(pictureOf(*faint, marks), (Picture{"m..", "m.."}));
    auto clear = emptyMask(3, 2);
    EXPECT_EQ(BitmapFill(*clear).floodFill(*reference, Point{0, 0}, 0x00FFFFFFu, 1),
              (Rect{0, 0, 1, 1}));
    EXPECT_EQ(pictureOf(*clear, marks), (Picture{"...", "t.."}));
}

TEST(FloodFill, SeedIsTruncatedAndClampedIntoTheBitmap) {
    const auto reference = bitmapFrom({"aXa", "aXa"}, kReference);
    auto mask = emptyMask(3, 2);
    EXPECT_EQ(BitmapFill(*mask).floodFill(*reference, Point{-40, 1e9f}, RED, 0),
              (Rect{0, 0, 1, 2}));
    auto right = emptyMask(3, 2);
    EXPECT_EQ(BitmapFill(*right).floodFill(*reference, Point{2.99f, -0.5f}, RED, 0),
              (Rect{2, 0, 1, 2}));
}

TEST(FloodFill, ReachesEveryCornerOfWindingAreas) {
    // Arms pointing down from the seed's row: only the backward sweep gets
    // below the seed.
    const auto arch = bitmapFrom({"XXXXXXX", //
                                  "X.....X", //
                                  "X.XXX.X", //
                                  "X.X.X.X", //
                                  "XXXXXXX"},
                                 kReference);
    auto archMask = emptyMask(7, 5);
    EXPECT_EQ(BitmapFill(*archMask).floodFill(*arch, Point{3, 3}, RED, 0), (Rect{1, 1, 5, 3}));
    EXPECT_EQ(pictureOf(*archMask), (Picture{".......", //
                                             ".#####.", //
                                             ".#...#.", //
                                             ".#...#.", //
                                             "......."}));

    // A spiral from its centre turns every way and needs several sweep pairs.
    const Picture spiral{"XXXXXXXXXX", //
                         "X........X", //
                         "X.XXXXXX.X", //
                         "X.X....X.X", //
                         "X.X.XX.X.X", //
                         "X.X.X..X.X", //
                         "X.X.XXXX.X", //
                         "X.X......X", //
                         "XXXXXXXXXX"};
    auto spiralMask = emptyMask(10, 9);
    BitmapFill(*spiralMask).floodFill(*bitmapFrom(spiral, kReference), Point{5, 3}, RED, 0);
    Picture expected = spiral;
    for (auto& row : expected)
        for (auto& c : row) c = c == '.' ? '#' : '.';
    EXPECT_EQ(pictureOf(*spiralMask), expected);
}

TEST(FloodFillDeathTest, ReferenceOfAnotherSizeIsAProgrammingError) {
    auto mask = emptyMask(4, 3);
    const auto reference = emptyMask(4, 4);
    EXPECT_DEATH(BitmapFill(*mask).floodFill(*reference, Point{0, 0}, RED, 0.2f),
                 "_width == bm->_width && _height == bm->_height");
}

TEST(FloodFillAt, FillsEqualPixelsInsideTheInclusiveLimit) {
    auto mask = bitmapFrom({"........", //
                            "........", //
                            "...#....", //
                            "........", //
                            "........"});
    // Columns 2 .. 5 and rows 1 .. 3, both ends included.
    BitmapFill(*mask).floodFillAt(Point{4.9f, 2.5f}, BitmapFill::HOLE_MARK, Rect{2, 1, 3.5f, 2});
    EXPECT_EQ(pictureOf(*mask), (Picture{"........", //
                                         "..oooo..", //
                                         "..o#oo..", //
                                         "..oooo..", //
                                         "........"}));

    // A seed that already has the colour changes nothing, even where equal
    // pixels of another value would otherwise be reached.
    auto same = bitmapFrom({"o..", "..."});
    BitmapFill(*same).floodFillAt(Point{0, 1}, BitmapFill::HOLE_MARK, Rect{0, 0, 2, 1});
    EXPECT_EQ(pictureOf(*same), (Picture{"o..", "..."}));
}

TEST(Expand, DiagonalNeighboursOnly) {
    // An isolated pixel grows into an X, not a square.
    auto dot = emptyMask(11, 11);
    dot->at(5, 5) = RED;
    BitmapFill(*dot).expand(Rect{5, 5, 1, 1}, RED);
    Picture x(11, std::string(11, '.'));
    for (auto [px, py] : {std::pair{5, 5}, {4, 4}, {6, 4}, {4, 6}, {6, 6}})
        x[std::size_t(10 - py)][std::size_t(px)] = '#';
    EXPECT_EQ(pictureOf(*dot), x);

    // A straight edge grows by one pixel; the bar's ends see no diagonal
    // neighbour that was filled before the pass.
    auto bar = bitmapFrom({".........", //
                           "..#####..", //
                           "........."});
    BitmapFill(*bar).expand(Rect{2, 1, 5, 1}, RED);
    EXPECT_EQ(pictureOf(*bar), (Picture{".#######.", //
                                        "..#####..", //
                                        ".#######."}));
}

TEST(Expand, IgnoresNeighboursInTheLastColumnAndTopRow) {
    auto edges = bitmapFrom({"..#..", //
                             "....#", //
                             ".....", //
                             "....."});
    BitmapFill(*edges).expand(Rect{0, 0, 5, 4}, RED);
    EXPECT_EQ(pictureOf(*edges), (Picture{"..#..", "....#", ".....", "....."}));

    // They are still grown into.
    auto inner = bitmapFrom({".....", //
                             "...#.", //
                             ".....", //
                             "....."});
    BitmapFill(*inner).expand(Rect{0, 0, 5, 4}, RED);
    EXPECT_EQ(pictureOf(*inner), (Picture{"..#.#", "...#.", "..#.#", "....."}));
}

TEST(Expand, ChangesOnlyEmptyWordsInTheWidenedArea) {
    // The area reaches one pixel further left and down and two further
    // right and up: for (6, 6, 0, 0) columns and rows 5 .. 8.
    auto dot = emptyMask(11, 11);
    dot->at(5, 5) = RED;
    BitmapFill(*dot).expand(Rect{6, 6, 0, 0}, RED);
    EXPECT_EQ(dot->at(6, 6), RED);
    EXPECT_EQ(dot->at(4, 4), TRANSPARENT);
    EXPECT_EQ(dot->at(6, 4), TRANSPARENT);
    EXPECT_EQ(dot->at(4, 6), TRANSPARENT);
    BitmapFill(*dot).expand(Rect{3, 3, 0, 0}, RED);
    EXPECT_EQ(dot->at(4, 4), RED);
    EXPECT_EQ(dot->at(6, 4), TRANSPARENT);

    // A transparent word that is not zero is left alone, and the
    // temporary mark never survives.
    const Legend legend{{'.', 0}, {'#', RED}, {'t', 0x00112233u}, {'g', GREEN}};
    auto mixed = bitmapFrom({"t..", ".#.", "..."}, legend);
    BitmapFill(*mixed).expand(Rect{0, 0, 3, 3}, GREEN);
    EXPECT_EQ(pictureOf(*mixed, legend), (Picture{"t.g", ".#.", "g.g"}));
}

TEST(FindHoles, ReportsEnclosedAreasByTheirLowestLeftmostPixel) {
    auto ring = bitmapFrom({"........", //
                            ".#####..", //
                            ".#...#..", //
                            ".#.#.#..", //
                            ".#...#..", //
                            ".#####..", //
                            "........"});
    Points holes;
    BitmapFill(*ring).findHolesInRect(Rect{0, 0, 7, 6}, holes);
    EXPECT_EQ(holes, corners({{2, 2}}));
    // The outside is reached from the corners and marked too.
    EXPECT_EQ(pictureOf(*ring), (Picture{"oooooooo", //
                                         "o#####oo", //
                                         "o#ooo#oo", //
                                         "o#o#o#oo", //
                                         "o#ooo#oo", //
                                         "o#####oo", //
                                         "oooooooo"}));

    // Rows upward, columns rightward; an area touching the border but no
    // corner counts as a hole too.
    auto several = bitmapFrom({"##.###", //
                               "#.##.#", //
                               "######", //
                               "#..###", //
                               "######"});
    holes.clear();
    BitmapFill(*several).findHolesInRect(Rect{0, 0, 5, 4}, holes);
    EXPECT_EQ(holes, corners({{1, 1}, {1, 3}, {4, 3}, {2, 4}}));
    EXPECT_EQ(pictureOf(*several), (Picture{"##o###", "#o##o#", "######", "#oo###", "######"}));
}

TEST(FindHoles, StaysInsideTheClampedArea) {
    auto mask = bitmapFrom({".....", //
                            ".###.", //
                            ".#.#.", //
                            ".###.", //
                            "....."});
    Points holes;
    // Columns and rows 1 .. 3 only: the ring's corners are filled, so the
    // surrounding empty pixels are never visited.
    BitmapFill(*mask).findHolesInRect(Rect{1, 1, 2, 2}, holes);
    EXPECT_EQ(holes, corners({{2, 2}}));
    EXPECT_EQ(pictureOf(*mask), (Picture{".....", ".###.", ".#o#.", ".###.", "....."}));

    auto whole = bitmapFrom({"...", ".#."});
    holes.clear();
    BitmapFill(*whole).findHolesInRect(Rect{-50, -50, 500, 500}, holes);
    EXPECT_TRUE(holes.empty());
    EXPECT_EQ(pictureOf(*whole), (Picture{"ooo", "o#o"}));
}

TEST(ClockwiseOutline, SinglePixelsAndPairs) {
    auto one = emptyMask(10, 10);
    one->at(5, 5) = RED;
    EXPECT_EQ(tracedFrom(*one, Point{5, 5}), corners({{6, 5}, {6, 6}, {5, 6}, {5, 5}}));

    auto two = emptyMask(10, 10);
    two->at(5, 5) = two->at(6, 5) = RED;
    EXPECT_EQ(tracedFrom(*two, Point{5.5f, 5.9f}),
              corners({{6, 5}, {7, 5}, {7, 6}, {6, 6}, {5, 6}, {5, 5}}));

    // Pixels that touch only at a corner are separate regions.
    auto diagonal = emptyMask(10, 10);
    diagonal->at(5, 5) = diagonal->at(6, 6) = RED;
    EXPECT_EQ(tracedFrom(*diagonal, Point{5, 5}), corners({{6, 5}, {6, 6}, {5, 6}, {5, 5}}));
    EXPECT_EQ(tracedFrom(*diagonal, Point{6, 6}), corners({{7, 6}, {7, 7}, {6, 7}, {6, 6}}));
}

TEST(ClockwiseOutline, FollowsConcaveCornersAndTheBitmapEdge) {
    // An L in the bottom left corner: outside the bitmap is never in the
    // region.
    const auto l = bitmapFrom({"#..", "#..", "###"});
    EXPECT_EQ(tracedFrom(*l, Point{0, 0}), corners({{1, 0},
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

    // The region is the pixels equal to the start's word: a hole marked
    // inside a ring is traced on its own, the ring acting as wall.
    const auto hole = bitmapFrom({"####", //
                                  "#oo#", //
                                  "####"});
    EXPECT_EQ(tracedFrom(*hole, Point{1, 1}),
              corners({{2, 1}, {3, 1}, {3, 2}, {2, 2}, {1, 2}, {1, 1}}));

    // An empty bitmap has no outline.
    Bitmap empty(Size{0, 0});
    EXPECT_TRUE(tracedFrom(empty, Point{0, 0}).empty());
}

TEST(ClockwiseOutlineDeathTest, StartInsideTheRegionThatNeverClosesIsAProgrammingError) {
    // From the upper left pixel of a 2 x 2 block the walk leaves the start
    // corner and circles the block without coming back to it.
    const auto block = bitmapFrom({"....", ".##.", ".##.", "...."});
    EXPECT_DEATH(tracedFrom(*block, Point{1, 2}), "walksInCircles");
}
