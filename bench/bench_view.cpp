// The document view, a real widget on the offscreen platform.
//
// ZoomRedraw: a zoom (or pan: the same full redraw) of a 1,000-stroke
//   drawing in a 1920x1080 view, through the widget's display.
//   x_ref = time / time of filling the same outlines alone into a bitmap.
// PenEvent: one pointer move while drawing in a 3840x2160 view, including
//   the widget's repaint of the dirty rectangle, in drawings of 0 and 1,000
//   strokes. Reported in ms and as frame_share = time / (1/60 s); the goal is
//   at most 0.5 whatever the stroke count.

#include "BenchDrawing.h"
#include "model/Strokes.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"
#include "tools/VimoDocument.h"
#include "view/VimoView.h"

#include <QApplication>
#include <QMouseEvent>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <memory>

namespace {

double seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

QApplication& app() {
    static int argc = 1;
    static char name[] = "bench_view";
    static char* argv[] = {name, nullptr};
    static QApplication instance(argc, argv);
    return instance;
}

struct Drawing {
    VimoDocument document;
    VimoView view;
    Drawing(int width, int height, int strokes) : view(document) {
        for (auto& s : benchDrawing(strokes, 1, {float(width), float(height)}))
            document.strokes().addStroke(s);
        view.resize(width, height);
        view.show();
        view.redraw();
        QApplication::processEvents();
    }
};

void send(QWidget& w, QEvent::Type type, QPointF p) {
    QMouseEvent e(type, p, p, type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                  type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, {});
    QApplication::sendEvent(&w, &e);
}

void ZoomRedraw(benchmark::State& state) {
    app();
    Drawing d(1920, 1080, 1000);
    // The reference: the same outlines filled, nothing else.
    Bitmap scratch({1920, 1080});
    double reference = 0;
    for (int i = 0; i < 3; ++i) {
        const double start = seconds();
        for (const auto& s : d.document.strokes().strokeArray())
            s->drawInContext(scratch.cgContext());
        reference += (seconds() - start) / 3;
    }
    double total = 0;
    bool in = true;
    for (auto _ : state) {
        const double start = seconds();
        d.view.zoomToPoint({960, 540}, in ? 1.25f : 0.8f);
        QApplication::processEvents(); // the display, which draws the strokes again
        total += seconds() - start;
        in = !in;
    }
    const double each = total / double(state.iterations());
    state.counters["ms"] = each * 1e3;
    state.counters["x_ref"] = each / reference;
    state.counters["ref_ms"] = reference * 1e3;
    state.counters["redraws"] = d.view.displayStats().strokeRedraws;
}
BENCHMARK(ZoomRedraw)->Unit(benchmark::kMillisecond)->Iterations(20);

void PenEvent(benchmark::State& state) {
    app();
    Drawing d(3840, 2160, int(state.range(0)));
    d.document.penTool();
    d.document.setPenSize(8);
    const QPointF centre(1920, 1080);
    long moves = 0;
    send(d.view, QEvent::MouseButtonPress, centre + QPointF(300, 0));
    QApplication::processEvents();
    double total = 0;
    for (auto _ : state) {
        const double a = double(moves % 628) * 0.01;
        const QPointF p = centre + QPointF(300 * std::cos(a), 300 * std::sin(a));
        const double start = seconds();
        send(d.view, QEvent::MouseMove, p);
        QApplication::processEvents(); // the repaint of the dirty rectangle
        total += seconds() - start;
        if (++moves % 400 == 0) {
            // A new gesture now and then keeps the trace at a usual length.
            state.PauseTiming();
            send(d.view, QEvent::MouseButtonRelease, p);
            d.document.undo();
            send(d.view, QEvent::MouseButtonPress, p);
            QApplication::processEvents();
            state.ResumeTiming();
        }
    }
    send(d.view, QEvent::MouseButtonRelease, centre);
    const double each = total / double(state.iterations());
    state.counters["ms"] = each * 1e3;
    state.counters["frame_share"] = each * 60;
    state.counters["displays_per_event"] =
        double(d.view.displayStats().displays) / double(std::max<long>(moves, 1));
}
BENCHMARK(PenEvent)->Arg(0)->Arg(1000)->Unit(benchmark::kMicrosecond)->Iterations(2000);

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    app();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
