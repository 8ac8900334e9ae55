// The word-parallel fills against the pixel-by-pixel sweeps, on random
// bitmaps: walls of varying density make winding areas that need many sweep
// pairs, shades near the background make the tolerance matter, and masks hold
// stray filled and unfilled words before the fill.

#include "LiteralSweeps.h"
#include "MaskPicture.h"

#include "fill/BitmapFill.h"

#include <gtest/gtest.h>

#include <random>

namespace {

std::vector<std::uint32_t> wordsOf(const Bitmap& b) {
    return {b.pixels(), b.pixels() + std::size_t(b.width()) * std::size_t(b.height())};
}

std::unique_ptr<Bitmap> randomBitmap(std::mt19937& rng, int w, int h,
                                     const std::vector<std::uint32_t>& words,
                                     const std::vector<double>& weights) {
    auto b = emptyMask(w, h);
    std::discrete_distribution<std::size_t> pick(weights.begin(), weights.end());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) b->at(x, y) = words[pick(rng)];
    return b;
}

int randomSize(std::mt19937& rng, int round) {
    // Every fourth bitmap is wider than two 64-pixel blocks.
    return 1 + int(rng() % (round % 4 == 0 ? 200u : 30u));
}

float randomCoordinate(std::mt19937& rng, int size) {
    return float(int(rng() % unsigned(size + 6)) - 3) + float(rng() % 4) * 0.25f;
}

} // namespace

TEST(SweepAgreement, TolerantFillMatchesThePixelSweeps) {
    std::mt19937 rng(2024);
    const std::vector<std::uint32_t> shades{0xFF808080u, 0xFF8080A0u, 0xFF8080C0u, BLACK};
    const std::vector<std::uint32_t> strays{TRANSPARENT, RED, 0x00112233u, 0x01000000u};
    const float tolerances[] = {0, 0.1f, 0.2f, 0.3f, 1};
    for (int round = 0; round < 400; ++round) {
        const int w = randomSize(rng, round), h = randomSize(rng, round + 1);
        const double wall = 0.1 * double(rng() % 6);
        const auto reference = randomBitmap(rng, w, h, shades, {1, 0.2, 0.2, wall});
        const double stray = round % 3 == 0 ? 0.05 : 0;
        auto mask = randomBitmap(rng, w, h, strays, {1, stray, stray, stray});
        auto expected = Bitmap::initWithCopy(*mask);

        const Point seed{randomCoordinate(rng, w), randomCoordinate(rng, h)};
        const float tolerance = tolerances[rng() % 5];
        const LiteralBox box = literalFloodFill(*expected, *reference, seed, RED, tolerance);
        const Rect bounds = BitmapFill(*mask).floodFill(*reference, seed, RED, tolerance);

        ASSERT_EQ(wordsOf(*mask), wordsOf(*expected)) << "round " << round;
        ASSERT_EQ(bounds, (Rect{float(box.minX), float(box.minY), float(box.maxX - box.minX + 1),
                                float(box.maxY - box.minY + 1)}))
            << "round " << round;
    }
}

TEST(SweepAgreement, ExactFillMatchesThePixelSweeps) {
    std::mt19937 rng(99);
    const std::uint32_t color = BitmapFill::HOLE_MARK;
    const std::vector<std::uint32_t> words{TRANSPARENT, RED, 0x00112233u, color};
    for (int round = 0; round < 400; ++round) {
        const int w = randomSize(rng, round), h = randomSize(rng, round + 1);
        const double wall = 0.1 * double(rng() % 6);
        auto mask = randomBitmap(rng, w, h, words, {1, wall, 0.1, round % 3 == 0 ? 0.05 : 0});
        auto expected = Bitmap::initWithCopy(*mask);

        // Limits usually hold the seed, but not always, and may stick out.
        const Point seed{randomCoordinate(rng, w), randomCoordinate(rng, h)};
        Rect limit{randomCoordinate(rng, w) - float(w) / 2, randomCoordinate(rng, h) - float(h) / 2,
                   float(rng() % unsigned(w + 3)), float(rng() % unsigned(h + 3))};
        if (round % 2 == 0) limit = Rect{0, 0, float(w - 1), float(h - 1)};

        literalFloodFillAt(*expected, seed, color, limit);
        BitmapFill(*mask).floodFillAt(seed, color, limit);
        ASSERT_EQ(wordsOf(*mask), wordsOf(*expected)) << "round " << round;
    }
}

TEST(SweepAgreement, HoleSearchMatchesThePixelSweeps) {
    std::mt19937 rng(5);
    const std::vector<std::uint32_t> words{TRANSPARENT, RED};
    for (int round = 0; round < 150; ++round) {
        const int w = randomSize(rng, round), h = randomSize(rng, round + 1);
        auto mask = randomBitmap(rng, w, h, words, {1, 1 + double(rng() % 3)});
        auto expected = Bitmap::initWithCopy(*mask);
        const int x0 = int(rng() % unsigned(w)), y0 = int(rng() % unsigned(h));
        const Rect area{float(x0), float(y0), float(rng() % unsigned(w - x0 + 1)),
                        float(rng() % unsigned(h - y0 + 1))};

        // The search spelled out with the pixel sweeps.
        const int x1 = std::min(int(area.x + area.width), w - 1);
        const int y1 = std::min(int(area.y + area.height), h - 1);
        const Rect limit{float(x0), float(y0), float(x1 - x0), float(y1 - y0)};
        for (const auto& [cx, cy] : {std::pair{x0, y0}, {x0, y1}, {x1, y0}, {x1, y1}})
            if (!BitmapFill::isFilled(expected->at(cx, cy)))
                literalFloodFillAt(*expected, Point{float(cx), float(cy)}, BitmapFill::HOLE_MARK,
                                   limit);
        std::vector<Point> expectedHoles;
        for (int y = y0; y <= y1; ++y)
            for (int x = x0; x <= x1; ++x)
                if (!BitmapFill::isFilled(expected->at(x, y))) {
                    expectedHoles.push_back(Point{float(x), float(y)});
                    literalFloodFillAt(*expected, Point{float(x), float(y)}, BitmapFill::HOLE_MARK,
                                       limit);
                }

        std::vector<Point> holes;
        BitmapFill(*mask).findHolesInRect(area, holes);
        ASSERT_EQ(holes, expectedHoles) << "round " << round;
        ASSERT_EQ(wordsOf(*mask), wordsOf(*expected)) << "round " << round;
    }
}
