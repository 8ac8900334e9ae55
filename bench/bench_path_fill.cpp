// Filling a pen-stroke outline: one circle per sample (four cubic arcs,
// closed) and the tangent quadrilateral between each pair of consecutive
// samples, 300 samples along a wavy line across a 1920 x 1080 bitmap,
// antialiased, non-zero winding in batches of about 100 elements.
//
// x_ref = time of the fill / time of the same fill by Cairo (winding rule,
// default antialiasing, same batches, into an image surface of the same size),
// the reference measured in the same run just before and after, both in
// process CPU time.

#include "raster/Bitmap.h"
#include "raster/CGContextWrapper.h"
#include "raster/Path.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <benchmark/benchmark.h>
#include <cairo.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <functional>
#include <vector>

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kSamples = 300;

PathElement element(PathElementType type, Point a = {}, Point b = {}, Point c = {}) {
    PathElement e;
    e.type = type;
    e.points[0] = a;
    e.points[1] = b;
    e.points[2] = c;
    return e;
}

void appendCircle(std::vector<PathElement>& out, Point c, float r) {
    const float k = 0.5522847f * r;
    out.push_back(element(MoveToElement, {c.x + r, c.y}));
    out.push_back(element(CurveToElement, {c.x + r, c.y + k}, {c.x + k, c.y + r}, {c.x, c.y + r}));
    out.push_back(element(CurveToElement, {c.x - k, c.y + r}, {c.x - r, c.y + k}, {c.x - r, c.y}));
    out.push_back(element(CurveToElement, {c.x - r, c.y - k}, {c.x - k, c.y - r}, {c.x, c.y - r}));
    out.push_back(element(CurveToElement, {c.x + k, c.y - r}, {c.x + r, c.y - k}, {c.x + r, c.y}));
    out.push_back(element(ClosePathElement));
}

// The outline a pen stroke of constant radius builds from its samples.
std::vector<PathElement> penOutline(float radius) {
    std::vector<Point> samples;
    for (int i = 0; i < kSamples; ++i) {
        const float t = float(i) / float(kSamples - 1);
        samples.push_back(
            {60.0f + 1800.0f * t, 540.0f + 300.0f * std::sin(t * 6.0f * 3.14159265f)});
    }
    std::vector<PathElement> out;
    appendCircle(out, samples[0], radius);
    for (std::size_t i = 1; i < samples.size(); ++i) {
        const Point a = samples[i - 1], b = samples[i];
        const float dx = b.x - a.x, dy = b.y - a.y, d = std::sqrt(dx * dx + dy * dy);
        const float nx = dy / d * radius, ny = -dx / d * radius;
        out.push_back(element(MoveToElement, {a.x + nx, a.y + ny}));
        out.push_back(element(LineToElement, {b.x + nx, b.y + ny}));
        out.push_back(element(LineToElement, {b.x - nx, b.y - ny}));
        out.push_back(element(LineToElement, {a.x - nx, a.y - ny}));
        out.push_back(element(ClosePathElement));
        appendCircle(out, b, radius);
    }
    return out;
}

// The batch boundaries of a non-zero fill, as Path makes them.
std::vector<int> batchStarts(const std::vector<PathElement>& elements) {
    std::vector<int> starts;
    const int n = int(elements.size());
    for (int s = 0; s < n;) {
        starts.push_back(s);
        int i = s;
        for (; i < n; ++i)
            if (elements[std::size_t(i)].type == ClosePathElement && i >= s + Path::kBatchSize)
                break;
        s = i < n ? i + 1 : n;
    }
    starts.push_back(n);
    return starts;
}

struct CairoTarget {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight);
    cairo_t* cr = cairo_create(surface);
    CairoTarget() {
        cairo_set_source_rgba(cr, 1, 1, 1, 1);
        cairo_paint(cr);
        cairo_set_source_rgba(cr, 0.2, 0.3, 0.8, 1);
        cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
    }
    ~CairoTarget() {
        cairo_destroy(cr);
        cairo_surface_destroy(surface);
    }
    void fill(const std::vector<PathElement>& elements, const std::vector<int>& starts) {
        auto y = [](float v) { return double(kHeight) - double(v); };
        for (std::size_t b = 0; b + 1 < starts.size(); ++b) {
            cairo_new_path(cr);
            for (int i = starts[b]; i < starts[b + 1]; ++i) {
                const PathElement& e = elements[std::size_t(i)];
                const Point* p = e.points;
                switch (e.type) {
                case MoveToElement:
                    cairo_move_to(cr, p[0].x, y(p[0].y));
                    break;
                case LineToElement:
                    cairo_line_to(cr, p[0].x, y(p[0].y));
                    break;
                case CurveToElement:
                    cairo_curve_to(cr, p[0].x, y(p[0].y), p[1].x, y(p[1].y), p[2].x, y(p[2].y));
                    break;
                default:
                    cairo_close_path(cr);
                    break;
                }
            }
            cairo_fill(cr);
        }
        cairo_surface_flush(surface);
    }
};

// CPU time of the whole process (all threads), so that other work on the
// machine does not skew the ratio and threaded fills are fully counted.
double cpuNow() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// Seconds per call of f, over at least 0.15 s.
double timePerCall(const std::function<void()>& f) {
    f();
    int n = 0;
    const double t0 = cpuNow();
    double t1 = t0;
    do {
        f();
        ++n;
        t1 = cpuNow();
    } while (t1 - t0 < 0.15);
    return (t1 - t0) / n;
}

double cairoReference(const std::vector<PathElement>& elements, const std::vector<int>& starts) {
    CairoTarget target;
    return timePerCall([&] { target.fill(elements, starts); });
}

template <class Fill>
void runAgainstCairo(benchmark::State& state, const std::vector<PathElement>& elements, Fill fill) {
    const std::vector<int> starts = batchStarts(elements);
    const double before = cairoReference(elements, starts);
    const double t0 = cpuNow();
    for (auto _ : state) {
        fill();
        benchmark::ClobberMemory();
    }
    const double t1 = cpuNow();
    const double after = cairoReference(elements, starts);
    const double ours = (t1 - t0) / double(state.iterations());
    state.counters["x_ref"] = ours / (0.5 * (before + after));
    state.counters["elements"] = double(elements.size());
}

void BM_PathFill(benchmark::State& state) {
    const std::vector<PathElement> elements = penOutline(float(state.range(0)));
    Bitmap bitmap(Size{kWidth, kHeight});
    std::memset(bitmap.pixels(), 0xFF, std::size_t(kWidth) * kHeight * 4);
    const Path path(elements);
    CGContextWrapper& context = bitmap.cgContext();
    context.setShouldAntialias(true);
    context.setFillColor(Color::calibrated(0.2f, 0.3f, 0.8f));
    runAgainstCairo(state, elements, [&] { path.fillInContext(context, NonZeroWindingRule); });
}

void BM_PathFillCairo(benchmark::State& state) {
    const std::vector<PathElement> elements = penOutline(float(state.range(0)));
    const std::vector<int> starts = batchStarts(elements);
    CairoTarget target;
    for (auto _ : state) target.fill(elements, starts);
}

// For comparison: the same batches filled by QPainter on the bitmap's format.
void BM_PathFillQPainter(benchmark::State& state) {
    const std::vector<PathElement> elements = penOutline(float(state.range(0)));
    QImage image(kWidth, kHeight, QImage::Format_RGBA8888_Premultiplied);
    image.fill(Qt::white);
    const std::vector<int> starts = batchStarts(elements);
    runAgainstCairo(state, elements, [&] {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        for (std::size_t b = 0; b + 1 < starts.size(); ++b) {
            QPainterPath qpath;
            qpath.setFillRule(Qt::WindingFill);
            for (int i = starts[b]; i < starts[b + 1]; ++i) {
                const PathElement& e = elements[std::size_t(i)];
                const Point* p = e.points;
                auto q = [](Point v) { return QPointF(v.x, kHeight - v.y); };
                switch (e.type) {
                case MoveToElement:
                    qpath.moveTo(q(p[0]));
                    break;
                case LineToElement:
                    qpath.lineTo(q(p[0]));
                    break;
                case CurveToElement:
                    qpath.cubicTo(q(p[0]), q(p[1]), q(p[2]));
                    break;
                default:
                    qpath.closeSubpath();
                    break;
                }
            }
            painter.fillPath(qpath, QColor::fromRgbF(0.2f, 0.3f, 0.8f));
        }
    });
}

} // namespace

BENCHMARK(BM_PathFill)->Arg(8)->Arg(32)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PathFillCairo)->Arg(8)->Arg(32)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PathFillQPainter)->Arg(8)->Arg(32)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
