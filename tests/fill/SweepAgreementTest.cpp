// The word-parallel fills against the pixel-by-pixel sweeps on random
// bitmaps: walls of varying density make winding areas that need many sweep
// pairs, shades near the background make the tolerance matter, some masks
// hold stray words before the fill, and every fourth bitmap is wider than
// two 64-pixel blocks.

#include "LiteralSweeps.h"
#include "MaskPicture.h"

#include <gtest/gtest.h>

#include <random>

namespace {

struct Randomness {
    std::mt19937 rng;
    int size(int round) { return 1 + int(rng() % (round % 4 == 0 ? 200u : 30u)); }
    // Mostly inside, sometimes a little outside, not always whole.
    float coordinate(int size) {
        return float(int(rng() % unsigned(size + 6)) - 3) + float(rng() % 4) / 4;
    }
    std::unique_ptr<Bitmap> bitmap(int w, int h, const std::vector<std::uint32_t>& words,
                                   const std::vector<double>& weights) {
        auto b = emptyMask(w, h);
        std::discrete_distribution<std::size_t> pick(weights.begin(), weights.end());
        for (int i = 0; i < w * h; ++i) b->pixels()[i] = words[pick(rng)];
        return b;
    }
};

std::vector<std::uint32_t> wordsOf(const Bitmap& b) {
    return {b.pixels(), b.pixels() + b.width() * b.height()};
}

} // namespace

TEST(SweepAgreement, TolerantFill) {
    Randomness r{std::mt19937(2024)};
    const float tolerances[] = {0, 0.1f, 0.2f, 0.3f, 1};
    for (int round = 0; round < 400; ++round) {
        const int w = r.size(round), h = r.size(round + 1);
        const auto ref = r.bitmap(w, h, {0xFF808080u, 0xFF8080A0u, 0xFF8080C0u, BLACK},
                                  {1, 0.2, 0.2, 0.1 * double(r.rng() % 6)});
        const double stray = round % 3 == 0 ? 0.05 : 0;
        auto mask = r.bitmap(w, h, {0, RED, 0x00112233u, 0x01000000u}, {1, stray, stray, stray});
        auto expected = Bitmap::initWithCopy(*mask);
        const Point seed{r.coordinate(w), r.coordinate(h)};
        const float tolerance = tolerances[r.rng() % 5];

        const LiteralBox b = literalFloodFill(*expected, *ref, seed, tolerance);
        const Rect bounds = BitmapFill(*mask).floodFill(*ref, seed, RED, tolerance);
        ASSERT_EQ(wordsOf(*mask), wordsOf(*expected)) << "round " << round;
        ASSERT_EQ(bounds, (Rect{float(b.minX), float(b.minY), float(b.maxX - b.minX + 1),
                                float(b.maxY - b.minY + 1)}))
            << "round " << round;
    }
}

TEST(SweepAgreement, ExactFillInsideLimits) {
    Randomness r{std::mt19937(99)};
    for (int round = 0; round < 400; ++round) {
        const int w = r.size(round), h = r.size(round + 1);
        auto mask = r.bitmap(w, h, {0, RED, 0x00112233u, BitmapFill::HOLE_MARK},
                             {1, 0.1 * double(r.rng() % 6), 0.1, round % 3 == 0 ? 0.05 : 0});
        auto expected = Bitmap::initWithCopy(*mask);
        // Limits that may miss the seed or stick out of the bitmap.
        const Point seed{r.coordinate(w), r.coordinate(h)};
        Rect limit{r.coordinate(w) - float(w) / 2, r.coordinate(h) - float(h) / 2,
                   float(r.rng() % unsigned(w + 3)), float(r.rng() % unsigned(h + 3))};
        if (round % 2 == 0) limit = Rect{0, 0, float(w - 1), float(h - 1)};

        literalFloodFillAt(*expected, seed, BitmapFill::HOLE_MARK, limit);
        BitmapFill(*mask).floodFillAt(seed, BitmapFill::HOLE_MARK, limit);
        ASSERT_EQ(wordsOf(*mask), wordsOf(*expected)) << "round " << round;
    }
}
