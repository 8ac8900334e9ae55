// The stroke list's redraw and the rewind buffer on a 1920 x 1080 canvas,
// with drawings of typical pen strokes: random walks of 50-300 samples,
// radius 2-20 with varying pressure, eight colours, mostly opaque "normal"
// (about one stroke in twenty is translucent, darker or erasing).
//
// BM_RedrawFromStart: redraw of a 1,000-stroke drawing from stroke 0.
//   x_ref = time / time of filling the same outlines into the stroke bitmap
//   alone (no transfers, clearing or snapshots). Goal: at most 1.2.
//   cold_x_ref: the same for the first redraw of the canvas, which also
//   obtains the memory of its snapshots.
// BM_UndoTopStroke: undo of the top stroke of a 10,000-stroke drawing built
//   stroke by stroke (rewind, then repaint from the snapshot). Counter
//   "repainted" = strokes painted by the repaint (goal: at most 11).
//   x_ref = time / time of one memcpy of the full canvas. Goal: at most 30.
// BM_RewindBufferGrowth: 10,000 strokes added one by one; counters
//   "snapshots" and "bytes" held afterwards (logarithmic in the count).
//   x_ref = time / time of as many memcpys of the canvas as snapshots taken.
//
// Times are process CPU time, references measured in the same run.

#include "model/PenPoints.h"
#include "model/RewindBuffer.h"
#include "model/Stroke.h"
#include "model/Strokes.h"
#include "model/UndoManager.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"

#include "BenchDrawing.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr Size kCanvas{1920, 1080};

std::vector<std::shared_ptr<Stroke>> drawing(int count, unsigned seed) {
    return benchDrawing(count, seed, kCanvas);
}

double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

// Mean CPU time of f over a few runs.
template <class F> double timeOf(F&& f, int runs = 3) {
    const double start = cpuSeconds();
    for (int i = 0; i < runs; ++i) f();
    return (cpuSeconds() - start) / runs;
}

void memcpyCanvas(Bitmap& from, Bitmap& to) {
    std::memcpy(to.pixels(), from.pixels(),
                std::size_t(from.width()) * std::size_t(from.height()) * 4);
    benchmark::ClobberMemory();
}

void BM_RedrawFromStart(benchmark::State& state) {
    Strokes list(drawing(1000, 1));
    VimoCanvas canvas(kCanvas);
    Bitmap& scratch = canvas.strokeBitmap();
    const double reference = timeOf([&] {
        for (const auto& s : list.strokeArray()) s->drawInContext(scratch.cgContext());
    });
    scratch.fill(TRANSPARENT);
    // One redraw first, untimed: it obtains the snapshots' memory, which
    // later redraws (after zooming, rotating, reordering) reuse.
    const double coldStart = cpuSeconds();
    list.drawInCanvas(canvas);
    state.counters["cold_x_ref"] = (cpuSeconds() - coldStart) / reference;

    double total = 0;
    for (auto _ : state) {
        const double start = cpuSeconds();
        canvas.fill(TRANSPARENT);
        benchmark::DoNotOptimize(list.drawInCanvas(canvas));
        total += cpuSeconds() - start;
    }
    state.counters["x_ref"] = total / double(state.iterations()) / reference;
    state.counters["transfers"] = list.lastRedrawStats().transfers;
    state.counters["ref_ms"] = reference * 1e3;
}
BENCHMARK(BM_RedrawFromStart)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_UndoTopStroke(benchmark::State& state) {
    UndoManager undo;
    Strokes list;
    list.setUndoManager(&undo);
    VimoCanvas canvas(kCanvas);
    // Built as the document does: add, paint, snapshot when due.
    for (auto& s : drawing(10000, 2)) {
        list.addStroke(s);
        undo.endEventGroup();
        s->drawInCanvas(canvas);
        canvas.recordRewindBufferStroke(list.count());
    }
    VimoCanvas spare(kCanvas);
    const double reference =
        timeOf([&] { memcpyCanvas(canvas.drawBitmap(), spare.drawBitmap()); }, 20);

    double total = 0;
    int repainted = 0;
    for (auto _ : state) {
        const double start = cpuSeconds();
        undo.undo();
        const int from = canvas.rewindToBeforeStroke(list.count());
        list.drawInCanvas(canvas, from);
        total += cpuSeconds() - start;
        repainted = std::max(repainted, list.lastRedrawStats().painted);

        state.PauseTiming();
        undo.redo();
        list.lastStroke()->drawInCanvas(canvas);
        canvas.recordRewindBufferStroke(list.count());
        state.ResumeTiming();
    }
    state.counters["x_ref"] = total / double(state.iterations()) / reference;
    state.counters["repainted"] = repainted;
    state.counters["snapshots"] = canvas.rewindBuffer().entryCount();
}
BENCHMARK(BM_UndoTopStroke)->Unit(benchmark::kMillisecond)->Iterations(20);

void BM_RewindBufferGrowth(benchmark::State& state) {
    Bitmap draw(kCanvas);
    draw.fill(WHITE);
    Bitmap spare(kCanvas);
    const double copy = timeOf([&] { memcpyCanvas(draw, spare); }, 20);
    int snapshots = 0;
    std::size_t bytes = 0;
    for (auto _ : state) {
        const double start = cpuSeconds();
        RewindBuffer buffer;
        int taken = 0;
        for (int n = 1; n <= 10000; ++n) {
            taken += buffer.wantsToRecordStroke(n) ? 1 : 0;
            buffer.recordStroke(n, draw);
        }
        state.counters["x_ref"] = (cpuSeconds() - start) / (copy * taken);
        snapshots = buffer.entryCount();
        bytes = buffer.byteCount();
    }
    state.counters["snapshots"] = snapshots;
    state.counters["bytes"] = double(bytes);
}
BENCHMARK(BM_RewindBufferGrowth)->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace

BENCHMARK_MAIN();
