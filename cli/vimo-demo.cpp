// vimo-demo: paints a few strokes of each kind through the drawing model and
// writes the picture as a PNG, printing its path. It exercises the whole
// raster path (pen outlines, fills, outlines, transfer modes, opacity) with no
// display.

#include "model/BezierPath.h"
#include "model/PenPoints.h"
#include "model/Stroke.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"

#include <QDir>
#include <QImage>
#include <QPainter>

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

namespace {

constexpr float kPi = 3.14159265f;

std::shared_ptr<Stroke> wave(float y, float amplitude, float radius, const Color& color, int mode,
                             float opacity) {
    auto points = std::make_shared<PenPoints>(AffineMatrix::identity(), radius);
    for (int i = 0; i <= 120; ++i) {
        const float t = float(i) / 120.0f;
        const float x = 40 + t * 560;
        const float pressure = 0.35f + 0.65f * std::sin(t * kPi);
        points->addPointAt({x, y + amplitude * std::sin(t * 4 * kPi)}, pressure);
    }
    points->simplify();
    return Stroke::initWithPenPoints(points, color, mode, opacity);
}

} // namespace

int main(int argc, char** argv) {
    const std::string out =
        argc > 1 ? argv[1] : (QDir::tempPath() + "/vimo-demo.png").toStdString();

    VimoCanvas canvas(Size{640, 400});
    auto paint = [&](const std::shared_ptr<Stroke>& s) {
        if (s) s->drawInCanvas(canvas);
    };

    // Paper.
    paint(Stroke::initWithBezierPath(
        std::make_shared<BezierPath>(BezierPath::bezierPathWithRect({0, 0, 640, 400})),
        Color::calibrated(0.98f, 0.96f, 0.90f), 0, 1));

    // A ring: an even-odd path of two ovals.
    auto ring = std::make_shared<BezierPath>();
    ring->appendBezierPathWithOvalInRect({400, 150, 200, 200});
    ring->appendBezierPathWithOvalInRect({450, 200, 100, 100});
    ring->setWindingRule(EvenOddWindingRule);
    paint(Stroke::initWithBezierPath(ring, Color::calibrated(0.2f, 0.5f, 0.9f), 0, 1));

    // Pen strokes in several modes and opacities.
    paint(wave(300, 40, 14, Color::calibrated(0.85f, 0.15f, 0.1f), 0, 1));
    paint(wave(220, 30, 22, Color::calibrated(1.0f, 0.85f, 0.1f), 7, 1));   // multiply
    paint(wave(140, 50, 18, Color::calibrated(0.1f, 0.6f, 0.3f), 0, 0.5f)); // half opacity
    paint(wave(250, 10, 6, Color::black(), 1, 1));                          // erase

    // An outlined curve.
    auto curve = std::make_shared<BezierPath>();
    curve->moveToPoint({40, 40});
    curve->curveToPoint({600, 60}, {200, 160}, {420, -40});
    curve->setLineWidth(5);
    paint(Stroke::initWithBezierStroke(curve, Color::calibrated(0.3f, 0.2f, 0.6f), 0, 1));

    // Shown as a window would: over a white background.
    QImage image(canvas.previewBitmap().image().size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.drawImage(0, 0, canvas.previewBitmap().image());
    painter.end();
    if (!image.save(QString::fromStdString(out), "PNG")) {
        std::fprintf(stderr, "vimo-demo: could not write %s\n", out.c_str());
        return 1;
    }
    std::printf("%s\n", out.c_str());
    return 0;
}
