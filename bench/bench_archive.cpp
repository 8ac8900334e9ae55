// Opening and saving a drawing of 10,000 strokes (mostly pen strokes of 40
// samples, some filled ovals and outlined curves; no embedded picture, so
// that the archive itself is measured).
//   OpenDocument  reading the file content into a document (inflate, property
//                 list, objects, pen outlines rebuilt); x_ref = its time / the
//                 time of inflating the same payload alone (zlib uncompress);
//                 x_ref_archive leaves out the time of rebuilding the stroke
//                 geometry (geometry_ms, measured by making the strokes again
//                 from their pen points and paths)
//   SaveDocument  writing the document's file content (objects, property list,
//                 deflate); x_ref = its time / the time of deflating the same
//                 archive alone (zlib compress)
// Each iteration times the reference right before the measured work, so that
// both meet the same machine load.

#include "model/BezierPath.h"
#include "model/DocumentFile.h"
#include "model/PenPoints.h"
#include "model/Stroke.h"
#include "model/Strokes.h"
#include "model/VimoFileData.h"
#include "model/ZLib.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <memory>
#include <random>

namespace {

constexpr int kStrokes = 10000;

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::unique_ptr<DocumentFile> bigDocument() {
    auto doc = std::make_unique<DocumentFile>();
    doc->setPreviewSource([] { return QImage(); }); // no embedded picture
    doc->setWindowFrameString("{{100, 100}, {1024, 768}}");
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> pos(0, 1000), unit(0, 1);
    for (int i = 0; i < kStrokes; ++i) {
        const Color color = Color::calibrated(unit(rng), unit(rng), unit(rng));
        const int kind = i % 20;
        if (kind < 17) {
            auto points = std::make_shared<PenPoints>(AffineMatrix::identity(), 3 + 10 * unit(rng));
            Point p{pos(rng), pos(rng)};
            for (int k = 0; k < 40; ++k) {
                p.x += 8 * (unit(rng) - 0.3f);
                p.y += 8 * (unit(rng) - 0.5f);
                points->addPointAt(p, unit(rng));
            }
            doc->strokes().addStroke(Stroke::initWithPenPoints(points, color, i % 8, 1));
        } else if (kind < 19) {
            auto oval = std::make_shared<BezierPath>(
                BezierPath::bezierPathWithOvalInRect({pos(rng), pos(rng), 50, 30}));
            doc->strokes().addStroke(Stroke::initWithBezierPath(oval, color, 0, 0.5f));
        } else {
            auto curve = std::make_shared<BezierPath>();
            curve->moveToPoint({pos(rng), pos(rng)});
            curve->curveToPoint({pos(rng), pos(rng)}, {pos(rng), pos(rng)}, {pos(rng), pos(rng)});
            curve->setLineWidth(4);
            doc->strokes().addStroke(Stroke::initWithBezierStroke(curve, color, 0, 1));
        }
    }
    return doc;
}

const QByteArray& fileContent() {
    static const QByteArray content = bigDocument()->dataRepresentationOfType("Vimo Document");
    return content;
}

void OpenDocument(benchmark::State& state) {
    const QByteArray& file = fileContent();
    const QByteArray payload = file.left(file.size() - 12);
    double openTotal = 0, inflateTotal = 0, outlineTotal = 0;
    int strokes = 0;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        auto inflated = decompressWithLength(payload);
        benchmark::DoNotOptimize(inflated);
        inflateTotal += secondsSince(start);

        DocumentFile doc;
        start = std::chrono::steady_clock::now();
        const auto result = doc.loadDataRepresentation(file, DocumentFile::kDocumentType);
        const double seconds = secondsSince(start);
        if (!result) state.SkipWithError(result.reason().c_str());
        strokes = doc.strokes().count();
        state.SetIterationTime(seconds);
        openTotal += seconds;

        // Not timed as part of opening: the share of the stroke geometry
        // (pen outlines, flattened paths, bounds), which opening rebuilds,
        // measured by making every stroke once more from its parts.
        start = std::chrono::steady_clock::now();
        for (const auto& s : doc.strokes().strokeArray()) {
            if (s->penPoints())
                benchmark::DoNotOptimize(Stroke::initWithPenPoints(
                    s->penPoints(), *s->color(), s->transferMode(), s->opacity()));
            else if (s->drawAsStroke())
                benchmark::DoNotOptimize(Stroke::initWithBezierStroke(
                    s->bezierPath(), *s->color(), s->transferMode(), s->opacity()));
            else
                benchmark::DoNotOptimize(Stroke::initWithBezierPath(
                    s->bezierPath(), *s->color(), s->transferMode(), s->opacity()));
        }
        outlineTotal += secondsSince(start);
    }
    state.counters["x_ref"] = openTotal / inflateTotal;
    state.counters["geometry_ms"] = outlineTotal * 1000 / double(state.iterations());
    // Opening without the geometry rebuild, against the same inflate.
    state.counters["x_ref_archive"] = (openTotal - outlineTotal) / inflateTotal;
    state.counters["inflate_ms"] = inflateTotal * 1000 / double(state.iterations());
    state.counters["file_kb"] = double(file.size()) / 1024;
    state.counters["strokes"] = strokes;
}

void SaveDocument(benchmark::State& state) {
    static const auto doc = bigDocument();
    const QByteArray archive = VimoFileData::archiveFromFileData(fileContent()).archive();
    double saveTotal = 0, deflateTotal = 0;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        auto deflated = compressWithLength(archive);
        benchmark::DoNotOptimize(deflated);
        deflateTotal += secondsSince(start);

        start = std::chrono::steady_clock::now();
        auto content = doc->dataRepresentationOfType(DocumentFile::kDocumentType);
        benchmark::DoNotOptimize(content);
        const double seconds = secondsSince(start);
        state.SetIterationTime(seconds);
        saveTotal += seconds;
    }
    state.counters["x_ref"] = saveTotal / deflateTotal;
    state.counters["deflate_ms"] = deflateTotal * 1000 / double(state.iterations());
    state.counters["archive_kb"] = double(archive.size()) / 1024;
}

} // namespace

BENCHMARK(OpenDocument)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(SaveDocument)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
