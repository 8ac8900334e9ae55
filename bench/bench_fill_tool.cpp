// A whole fill-tool click on a 1920 x 1080 drawing of 200 pen strokes: flood
// the drawing into the mask, expand, find holes, trace, simplify, add the
// stroke and paint it. x_ref is the click's time divided by a memcpy of the
// canvas measured in the same iterations. The added stroke is taken back and
// the picture restored between clicks, outside the timing.

#include "fill/FillTool.h"
#include "model/BezierPath.h"
#include "model/PenPoints.h"
#include "model/Stroke.h"
#include "model/Strokes.h"
#include "model/VimoCanvas.h"
#include "support/ToolFixture.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr float kWidth = 1920, kHeight = 1080;

std::shared_ptr<Stroke> randomStroke(std::mt19937& rng) {
    std::uniform_real_distribution<float> x(0, kWidth), y(0, kHeight), r(2, 20), u(0, 1);
    auto points = std::make_shared<PenPoints>(AffineMatrix::identity(), r(rng));
    const float x0 = x(rng), y0 = y(rng), dx = x(rng) - x0, dy = y(rng) - y0;
    const int samples = 50 + int(u(rng) * 250);
    for (int i = 0; i < samples; ++i) {
        const float t = float(i) / float(samples);
        points->addPointAt({x0 + dx * t + 30 * std::sin(t * 9), y0 + dy * t}, 0.4f + 0.6f * u(rng));
    }
    points->simplify();
    return Stroke::initWithPenPoints(points, Color::calibrated(u(rng), u(rng), u(rng)), 0, 1);
}

void FillToolClick(benchmark::State& state) {
    TestView view(Size{kWidth, kHeight});
    TestDocument document(view);
    std::mt19937 rng(7);
    for (int i = 0; i < 200; ++i)
        if (auto s = randomStroke(rng)) document.addStroke(s);
    FillTool tool(document);
    const Bitmap& draw = view.canvas()->drawBitmap();
    const std::size_t bytes = std::size_t(draw.width()) * std::size_t(draw.height()) * 4;
    std::vector<std::uint32_t> saved(draw.pixels(), draw.pixels() + bytes / 4);
    std::vector<std::uint32_t> copy(bytes / 4);

    auto restore = [&] {
        document.strokes().removeLastStroke();
        std::memcpy(view.canvas()->drawBitmap().pixels(), saved.data(), bytes);
        std::memcpy(view.canvas()->previewBitmap().pixels(), saved.data(), bytes);
    };
    // Click where the fill is largest among a grid of candidates: the space
    // between the strokes, as a user filling a background would.
    Point at{kWidth / 2, kHeight / 2};
    float bestArea = -1;
    for (int gy = 1; gy < 6; ++gy)
        for (int gx = 1; gx < 10; ++gx) {
            ToolEvent probe;
            probe.location = {kWidth * float(gx) / 10, kHeight * float(gy) / 6};
            tool.toolDownEvent(probe, view, probe.location);
            const Rect b = document.strokes().lastStroke()->bounds();
            if (b.width * b.height > bestArea) bestArea = b.width * b.height, at = probe.location;
            restore();
        }

    double clickSeconds = 0, memcpySeconds = 0;
    int lastElements = 0;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        std::memcpy(copy.data(), saved.data(), bytes);
        benchmark::ClobberMemory();
        memcpySeconds +=
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();

        ToolEvent event;
        event.location = at;
        start = std::chrono::steady_clock::now();
        tool.toolDownEvent(event, view, event.location);
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        clickSeconds += seconds;
        state.SetIterationTime(seconds);

        lastElements = document.strokes().lastStroke()->bezierPath()->elementCount();
        restore();
    }
    state.counters["x_ref"] = clickSeconds / memcpySeconds;
    state.counters["bounds_megapixels"] = double(bestArea) / 1e6;
    state.counters["outline_elements"] = double(lastElements);
}
BENCHMARK(FillToolClick)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
