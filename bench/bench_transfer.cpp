// Transfer of a full 3840 x 2160 rectangle in every mode, at opacity 1 and
// 0.5. x_ref is the time of the transfers divided by the time of memcpy of the
// same buffer (32 MiB) into the destination, which restores it before each
// transfer: both are timed in the same iterations.
//   Transfer/<mode>/<opacity x 100>/0  source of random premultiplied pixels of
//                                      any coverage: no block is clear or opaque
//   Transfer/<mode>/<opacity x 100>/1  a stroke bitmap: thick soft-edged lines
//                                      on a clear ground (about a fifth covered)
// The label names the instruction-set variant in use (VIMO_TRANSFER_VARIANT=
// generic selects the baseline one).

#include "raster/Bitmap.h"
#include "raster/TransferModes.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int kWidth = 3840, kHeight = 2160;
constexpr std::size_t kWords = std::size_t(kWidth) * kHeight;
const char* const kModeNames[8] = {"normal",   "erase",  "darker",  "lighter",
                                   "colorize", "shadow", "hilight", "multiply"};

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::uint32_t premultiplied(std::uint32_t w, std::uint32_t alpha) {
    auto c = [&](int shift) { return ((w >> shift) & 0xFF) * alpha / 255; };
    return c(0) | c(8) << 8 | c(16) << 16 | alpha << 24;
}

std::unique_ptr<Bitmap> randomPicture(std::uint32_t seed, bool anyCoverage) {
    auto b = std::make_unique<Bitmap>(Size{float(kWidth), float(kHeight)});
    std::mt19937 rng(seed);
    for (std::size_t i = 0; i < kWords; ++i) {
        const std::uint32_t w = std::uint32_t(rng());
        b->pixels()[i] = premultiplied(w, anyCoverage ? w >> 24 : 255 - (w >> 24) % 32);
    }
    return b;
}

// Horizontal and diagonal bands 40 pixels wide with 3-pixel soft edges.
std::unique_ptr<Bitmap> strokePicture() {
    auto b = std::make_unique<Bitmap>(Size{float(kWidth), float(kHeight)});
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const float band = std::fabs(std::fmod(float(x + y) * 0.7071f, 300.0f) - 150.0f);
            const float row = std::fabs(std::fmod(float(y), 500.0f) - 250.0f);
            const float inside = std::max(20.0f - std::min(band, row) + 1.5f, 0.0f) / 3.0f;
            const auto alpha = std::uint32_t(std::min(inside, 1.0f) * 255.0f);
            b->at(x, y) = premultiplied(0x3060C0u + std::uint32_t(x), alpha);
        }
    return b;
}

const Bitmap& source(int kind) {
    static const std::unique_ptr<Bitmap> random = randomPicture(1, true);
    static const std::unique_ptr<Bitmap> strokes = strokePicture();
    return kind == 0 ? *random : *strokes;
}

const Bitmap& picture() {
    static const std::unique_ptr<Bitmap> p = randomPicture(2, false);
    return *p;
}

void Transfer(benchmark::State& state) {
    const int mode = int(state.range(0));
    const float opacity = float(state.range(1)) / 100.0f;
    const Bitmap& src = source(int(state.range(2)));
    Bitmap dst(Size{float(kWidth), float(kHeight)});
    const Rect all{0, 0, float(kWidth), float(kHeight)};
    std::memcpy(dst.pixels(), picture().pixels(), kWords * 4); // no page faults in the loop
    double total = 0, reference = 0;
    for (auto _ : state) {
        // Every run starts from the same picture; that copy is the reference,
        // timed next to each transfer so that both see the same machine load.
        state.PauseTiming();
        const auto copyStart = std::chrono::steady_clock::now();
        std::memcpy(dst.pixels(), picture().pixels(), kWords * 4);
        benchmark::DoNotOptimize(dst.pixels());
        benchmark::ClobberMemory();
        reference += secondsSince(copyStart);
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        src.transferRect(all, dst, mode, opacity);
        benchmark::DoNotOptimize(dst.pixels());
        benchmark::ClobberMemory();
        total += secondsSince(start);
    }
    state.SetLabel(std::string(kModeNames[mode]) + " " + transfer_modes::activeVariant().name);
    state.counters["x_ref"] = total / reference;
}

} // namespace

BENCHMARK(Transfer)
    ->ArgsProduct({{0, 1, 2, 3, 4, 5, 6, 7}, {100, 50}, {0, 1}})
    ->ArgNames({"mode", "opacity", "strokes"})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

BENCHMARK_MAIN();
