// The pen tool's move event. x_ref is the time of one event divided by the
// time of one memcpy of the full 3840 x 2160 canvas (33 MB), measured in the
// same run.
//   OrdinaryPenMove/3840   a move of the ordinary pen (radius 10): the live
//                          preview of one segment, on a 3840 x 2160 canvas
//   OrdinaryPenMove/1024   the same on a 1024 x 768 canvas: the cost follows
//                          the segment, not the canvas, so both should match
//   CustomPenMove          a move of a custom pen whose "pen_move" does
//                          nothing: the overhead of one script callback
//   MemcpyCanvas           the reference itself

#include "model/Strokes.h"
#include "model/VimoCanvas.h"
#include "pens/Pen.h"
#include "raster/Bitmap.h"
#include "support/ToolFixture.h"
#include "tools/ResourcePaths.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

namespace {

constexpr std::size_t kRefWords = std::size_t(3840) * 2160;

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double memcpySeconds() {
    static const double seconds = [] {
        std::vector<std::uint32_t> from(kRefWords, 0x12345678u), to(kRefWords, 0);
        std::vector<double> runs;
        for (int i = 0; i < 15; ++i) {
            const auto start = std::chrono::steady_clock::now();
            std::memcpy(to.data(), from.data(), kRefWords * 4);
            benchmark::DoNotOptimize(to.data());
            benchmark::ClobberMemory();
            runs.push_back(secondsSince(start));
        }
        std::sort(runs.begin(), runs.end());
        return runs[runs.size() / 2];
    }();
    return seconds;
}

ToolEvent at(Point p) {
    ToolEvent e;
    e.location = p;
    e.pressure = 1;
    return e;
}

// Moves of 3 units around a circle in the middle of the canvas; a new
// gesture every 500 moves (outside the timing) keeps the trace short.
void runMoves(benchmark::State& state, Pen& pen, TestView& view) {
    const Size size = view.canvas()->size();
    const Point centre{size.width / 2, size.height / 2};
    const float r = 150;
    long moves = 0;
    pen.toolDownEvent(at(centre), view, {centre.x + r, centre.y});
    for (auto _ : state) {
        const float a = float(moves % 314) * 0.02f;
        const Point p{centre.x + r * std::cos(a), centre.y + r * std::sin(a)};
        pen.toolMoveEvent(at(p), p);
        if (++moves % 500 == 0) {
            state.PauseTiming();
            pen.toolUpEvent(at(p));
            pen.toolDownEvent(at(p), view, p);
            state.ResumeTiming();
        }
    }
    pen.toolUpEvent(at({}));
}

void reportRef(benchmark::State& state, std::chrono::steady_clock::time_point start) {
    const double seconds =
        secondsSince(start) / double(std::max<benchmark::IterationCount>(1, state.iterations()));
    state.counters["x_ref"] = seconds / memcpySeconds();
    state.counters["us_per_event"] = seconds * 1e6;
}

void OrdinaryPenMove(benchmark::State& state) {
    memcpySeconds();
    const float w = float(state.range(0)), h = state.range(0) == 3840 ? 2160.0f : 768.0f;
    TestView view({w, h});
    TestDocument document(view);
    Pen pen(document, ResourcePaths::pensDir(), ResourcePaths::libDir());
    pen.setPenTypeName("Pen");
    pen.setRadius(10);
    pen.setOpacity(0.8f);
    const auto start = std::chrono::steady_clock::now();
    runMoves(state, pen, view);
    reportRef(state, start);
}
BENCHMARK(OrdinaryPenMove)->Arg(3840)->Arg(1024)->Unit(benchmark::kMicrosecond);

void CustomPenMove(benchmark::State& state) {
    memcpySeconds();
    const std::filesystem::path dir = std::filesystem::temp_directory_path() / "vimo_bench_pens";
    std::filesystem::create_directories(dir);
    std::ofstream(dir / "noop.lua") << "name = 'Noop'\ncustom_pen = true\n"
                                       "function pen_down(p, r) end\n"
                                       "function pen_move(p, r) end\n"
                                       "function pen_up() end\n";
    TestView view({1024, 768});
    TestDocument document(view);
    Pen pen(document, dir.string(), ResourcePaths::libDir());
    const auto start = std::chrono::steady_clock::now();
    runMoves(state, pen, view);
    reportRef(state, start);
    std::filesystem::remove_all(dir);
}
BENCHMARK(CustomPenMove)->Unit(benchmark::kMicrosecond);

void MemcpyCanvas(benchmark::State& state) {
    std::vector<std::uint32_t> from(kRefWords, 0x12345678u), to(kRefWords, 0);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), kRefWords * 4);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.counters["x_ref"] = 1;
}
BENCHMARK(MemcpyCanvas)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
