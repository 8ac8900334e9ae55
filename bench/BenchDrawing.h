#pragma once

// Random drawings for the benchmarks: pen strokes of 50 to 300 samples
// wandering over a canvas, in eight colours, a few with other modes and
// opacities.

#include "model/PenPoints.h"
#include "model/Stroke.h"
#include "raster/Color.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

inline std::shared_ptr<Stroke> benchPenStroke(std::mt19937& rng, Size kCanvas) {
    std::uniform_real_distribution<float> unit(0, 1);
    const float radius = 2 + 18 * unit(rng);
    auto points = std::make_shared<PenPoints>(AffineMatrix::identity(), radius);
    const int samples = 50 + int(rng() % 251);
    Point p{kCanvas.width * unit(rng), kCanvas.height * unit(rng)};
    float heading = 6.2831853f * unit(rng);
    float pressure = 0.3f + 0.7f * unit(rng);
    for (int i = 0; i < samples; ++i) {
        points->addPointAt(p, pressure);
        heading += 0.4f * (unit(rng) - 0.5f);
        const float step = 2 + 4 * unit(rng);
        p = {p.x + step * std::cos(heading), p.y + step * std::sin(heading)};
        pressure = std::clamp(pressure + 0.1f * (unit(rng) - 0.5f), 0.2f, 1.0f);
    }
    static const Color colours[] = {Color::black(), Color::red(),    Color::green(),
                                    Color::blue(),  Color::orange(), Color::purple(),
                                    Color::brown(), Color::gray()};
    const Color& colour = colours[rng() % 8];
    int mode = 0;
    float opacity = 1;
    switch (rng() % 60) {
    case 0:
        opacity = 0.5f;
        break;
    case 1:
        mode = 2;
        break;
    case 2:
        mode = 1;
        break;
    default:
        break;
    }
    return Stroke::initWithPenPoints(points, colour, mode, opacity);
}

inline std::vector<std::shared_ptr<Stroke>> benchDrawing(int count, unsigned seed, Size kCanvas) {
    std::mt19937 rng(seed);
    std::vector<std::shared_ptr<Stroke>> strokes;
    while (int(strokes.size()) < count)
        if (auto s = benchPenStroke(rng, kCanvas)) strokes.push_back(std::move(s));
    return strokes;
}
