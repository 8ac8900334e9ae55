#pragma once

// The drawing of the document tests and sample files: a stroke of every
// kind, several modes and opacities, a background and a turned, zoomed view.

#include "model/AffineTransform.h"
#include "model/BezierPath.h"
#include "model/DocumentFile.h"
#include "model/PenPoints.h"
#include "model/Stroke.h"
#include "model/Strokes.h"

#include <QImage>
#include <QPainter>

#include <cmath>
#include <memory>

namespace sample {

// A picture with a gradient, transparency and an asymmetric mark, so that
// flips and rotations show.
inline QImage picture(int w, int h) {
    QImage image(w, h, QImage::Format_ARGB32);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            image.setPixel(x, y, qRgba(x * 255 / w, y * 255 / h, 128, x < w / 4 ? 128 : 255));
    QPainter p(&image);
    p.fillRect(0, 0, w / 3, h / 5, Qt::black);
    return image;
}

// A wavy pen stroke of n samples with coordinates that do not fall on tenths.
inline std::shared_ptr<Stroke> penStroke(float y, float radius, const Color& color, int mode,
                                         float opacity, int n = 40) {
    auto points = std::make_shared<PenPoints>(AffineMatrix::identity(), radius);
    for (int i = 0; i < n; ++i) {
        const float t = float(i) / float(n - 1);
        points->addPointAt({10.037f + t * 130.0f, y + 9.0f * std::sin(t * 6.0f)}, 0.3f + 0.7f * t);
    }
    return Stroke::initWithPenPoints(points, color, mode, opacity);
}

inline std::shared_ptr<Stroke> ringStroke() {
    auto ring = std::make_shared<BezierPath>();
    ring->appendBezierPathWithOvalInRect({60, 30, 70, 70});
    ring->appendBezierPathWithOvalInRect({80, 50, 30, 30});
    ring->setWindingRule(EvenOddWindingRule);
    return Stroke::initWithBezierPath(ring, Color::calibrated(0.2f, 0.5f, 0.9f), 0, 1);
}

inline std::shared_ptr<Stroke> curveStroke() {
    auto curve = std::make_shared<BezierPath>();
    curve->moveToPoint({5, 5});
    curve->curveToPoint({150, 20}, {50, 110}, {110, -30});
    curve->setLineWidth(3.5f);
    curve->setLineJoinStyle(BezierPath::LineJoin::Round);
    return Stroke::initWithBezierStroke(curve, Color::device(0.3f, 0.2f, 0.6f, 0.9f), 7, 0.5f);
}

constexpr Size kViewSize{160, 120};

inline void fill(DocumentFile& doc) {
    doc.setViewSize(kViewSize);
    doc.setBackgroundColor(Color::calibrated(1.0f, 0.95f, 0.8f));
    doc.setWindowFrameString("{{120, 80}, {160, 120}}");
    AffineTransform view;
    view.translateXBy(80, 60);
    view.rotateByDegrees(10);
    view.scaleBy(0.9f);
    view.translateXBy(-80, -60);
    doc.setViewTransform(view);
    Strokes& list = doc.strokes();
    list.addStroke(ringStroke());
    list.addStroke(penStroke(40, 6, Color::calibrated(0.85f, 0.15f, 0.1f), 0, 1));
    list.addStroke(penStroke(70, 9, Color::calibrated(1.0f, 0.85f, 0.1f), 2, 0.75f));
    list.addStroke(curveStroke());
    doc.addImage(picture(48, 32), {120, 40}, 0.8f);
    list.addStroke(penStroke(90, 4, Color::black(), 1, 1));
}

} // namespace sample
