// Flood fill on a 4096 x 4096 canvas. x_ref is the time of one fill divided
// by the time of one memcpy of the same canvas (64 MiB), measured in the same
// run.
//   FillEmptyCanvas   the tolerant fill of the whole empty canvas
//   FillAmongStrokes  a region of about 0.6 megapixels between thick random
//                     lines and discs
//   MemcpyCanvas      the reference itself

#include "fill/BitmapFill.h"
#include "raster/Bitmap.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int kSide = 4096;
constexpr std::size_t kWords = std::size_t(kSide) * kSide;

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The median of several copies of the canvas, buffers touched beforehand.
double memcpySeconds() {
    static const double seconds = [] {
        std::vector<std::uint32_t> from(kWords, 0x12345678u), to(kWords, 0);
        std::vector<double> runs;
        for (int i = 0; i < 9; ++i) {
            const auto start = std::chrono::steady_clock::now();
            std::memcpy(to.data(), from.data(), kWords * 4);
            benchmark::DoNotOptimize(to.data());
            benchmark::ClobberMemory();
            runs.push_back(secondsSince(start));
        }
        std::sort(runs.begin(), runs.end());
        return runs[runs.size() / 2];
    }();
    return seconds;
}

std::unique_ptr<Bitmap> canvasOf(std::uint32_t word) {
    auto b = std::make_unique<Bitmap>(Size{float(kSide), float(kSide)});
    std::fill(b->pixels(), b->pixels() + kWords, word);
    return b;
}

void disc(Bitmap& b, float cx, float cy, float r, std::uint32_t word) {
    const int x0 = std::max(0, int(cx - r)), x1 = std::min(kSide - 1, int(cx + r));
    const int y0 = std::max(0, int(cy - r)), y1 = std::min(kSide - 1, int(cy + r));
    for (int y = y0; y <= y1; ++y)
        for (int x = x0; x <= x1; ++x)
            if ((float(x) - cx) * (float(x) - cx) + (float(y) - cy) * (float(y) - cy) <= r * r)
                b.at(x, y) = word;
}

// A thick line as a row of overlapping discs.
void line(Bitmap& b, float x0, float y0, float x1, float y1, float r, std::uint32_t word) {
    const float length = std::hypot(x1 - x0, y1 - y0);
    const int steps = std::max(1, int(length / (r * 0.5f)));
    for (int i = 0; i <= steps; ++i) {
        const float t = float(i) / float(steps);
        disc(b, x0 + (x1 - x0) * t, y0 + (y1 - y0) * t, r, word);
    }
}

// White canvas with black strokes; the seed of the white area whose size is
// closest to 0.6 megapixels.
struct StrokeScene {
    std::unique_ptr<Bitmap> picture = canvasOf(WHITE);
    Point seed{};
    std::size_t regionPixels = 0;

    StrokeScene() {
        std::mt19937 rng(17);
        std::uniform_real_distribution<float> pos(0, float(kSide));
        std::uniform_real_distribution<float> width(3, 12);
        for (int i = 0; i < 28; ++i)
            line(*picture, pos(rng), pos(rng), pos(rng), pos(rng), width(rng), BLACK);
        std::uniform_real_distribution<float> radius(8, 70);
        for (int i = 0; i < 150; ++i) disc(*picture, pos(rng), pos(rng), radius(rng), BLACK);
        pickRegion();
    }

    // Labels the white areas (4-connected) with a plain breadth-first search.
    void pickRegion() {
        std::vector<int> label(kWords, -1);
        std::vector<std::uint32_t> queue;
        const std::uint32_t* px = picture->pixels();
        std::size_t best = 0, bestSize = 0;
        for (std::size_t start = 0; start < kWords; ++start) {
            if (px[start] != WHITE || label[start] >= 0) continue;
            queue.assign(1, std::uint32_t(start));
            label[start] = 1;
            for (std::size_t head = 0; head < queue.size(); ++head) {
                const std::uint32_t i = queue[head];
                const std::uint32_t x = i % kSide;
                auto visit = [&](std::uint32_t j) {
                    if (px[j] == WHITE && label[j] < 0) {
                        label[j] = 1;
                        queue.push_back(j);
                    }
                };
                if (x > 0) visit(i - 1);
                if (x + 1 < kSide) visit(i + 1);
                if (i >= kSide) visit(i - kSide);
                if (i + kSide < kWords) visit(i + kSide);
            }
            const auto distance = [](std::size_t n) {
                return n > 600000 ? n - 600000 : 600000 - n;
            };
            if (bestSize == 0 || distance(queue.size()) < distance(bestSize)) {
                best = start;
                bestSize = queue.size();
            }
        }
        regionPixels = bestSize;
        // Word index to bitmap coordinates (rows are stored top first).
        seed = Point{float(best % kSide), float(kSide - 1 - int(best / kSide))};
    }
};

void runFill(benchmark::State& state, const Bitmap& picture, Point seed) {
    auto mask = canvasOf(TRANSPARENT);
    double total = 0;
    Rect bounds{};
    for (auto _ : state) {
        std::fill(mask->pixels(), mask->pixels() + kWords, TRANSPARENT);
        const auto start = std::chrono::steady_clock::now();
        bounds = BitmapFill(*mask).floodFill(picture, seed, RED, 0.2f);
        benchmark::DoNotOptimize(bounds);
        const double seconds = secondsSince(start);
        state.SetIterationTime(seconds);
        total += seconds;
    }
    const std::size_t filled =
        std::size_t(std::count(mask->pixels(), mask->pixels() + kWords, RED));
    state.counters["x_ref"] = total / double(state.iterations()) / memcpySeconds();
    state.counters["filled_px"] = double(filled);
    state.counters["box_px"] = double(bounds.width * bounds.height);
}

void FillEmptyCanvas(benchmark::State& state) {
    static const auto picture = canvasOf(WHITE);
    runFill(state, *picture, Point{kSide / 2, kSide / 2});
}

void FillAmongStrokes(benchmark::State& state) {
    static const StrokeScene scene;
    runFill(state, *scene.picture, scene.seed);
}

void MemcpyCanvas(benchmark::State& state) {
    std::vector<std::uint32_t> from(kWords, 0x12345678u), to(kWords, 0);
    double total = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        std::memcpy(to.data(), from.data(), kWords * 4);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
        const double seconds = secondsSince(start);
        state.SetIterationTime(seconds);
        total += seconds;
    }
    state.counters["x_ref"] = total / double(state.iterations()) / memcpySeconds();
}

} // namespace

BENCHMARK(FillEmptyCanvas)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(FillAmongStrokes)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(MemcpyCanvas)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
