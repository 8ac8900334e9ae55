#pragma once

#include "raster/AffineMatrix.h"
#include "raster/Color.h"
#include "raster/Geometry.h"
#include "raster/PathElement.h"

#include <cstdint>
#include <vector>

class QImage;

// A 2D drawing context over one bitmap's premultiplied RGBA memory: a current
// transformation matrix (user space -> bitmap coordinates, y up), a stack of
// graphics states, a current path, and fill/stroke/image drawing.
class GraphicsContext {
public:
    enum class LineJoin { Miter = 0, Round = 1, Bevel = 2 };
    enum class InterpolationQuality { Default = 0, None = 1, Low = 2, High = 3 };

    // pixels: width*height words, top row first; image wraps the same memory.
    GraphicsContext(std::uint32_t* pixels, int width, int height, QImage* image);
    ~GraphicsContext();
    GraphicsContext(const GraphicsContext&) = delete;
    GraphicsContext& operator=(const GraphicsContext&) = delete;

    // Current transformation matrix.
    AffineMatrix ctm() const { return _state.ctm; }
    void scaleCTM(float sx, float sy) { _state.ctm = _state.ctm.scaled(sx, sy); }
    void translateCTM(float dx, float dy) { _state.ctm = _state.ctm.translated(dx, dy); }
    void rotateCTM(float radians) { _state.ctm = _state.ctm.rotated(radians); }
    void concatCTM(const AffineMatrix& t) { _state.ctm = t.concat(_state.ctm); }

    // Graphics state.
    void saveGState();
    void restoreGState();
    void setFillColor(const Color& c) { _state.fill = c; }
    void setStrokeColor(const Color& c) { _state.stroke = c; }
    void setLineWidth(float w) { _state.lineWidth = w; }
    void setLineJoin(LineJoin j) { _state.lineJoin = j; }
    void setShouldAntialias(bool on) { _state.antialias = on; }
    void setInterpolationQuality(InterpolationQuality q) { _state.interpolation = q; }
    void setPatternPhase(float x, float y) { _state.patternPhase = {x, y}; }
    Color fillColor() const { return _state.fill; }
    Color strokeColor() const { return _state.stroke; }
    float lineWidth() const { return _state.lineWidth; }
    LineJoin lineJoin() const { return _state.lineJoin; }
    bool shouldAntialias() const { return _state.antialias; }
    InterpolationQuality interpolationQuality() const { return _state.interpolation; }
    Point patternPhase() const { return _state.patternPhase; }
    void flush() {}

    int width() const { return _width; }
    int height() const { return _height; }

private:
    struct State {
        AffineMatrix ctm;
        Color fill = Color::device(0, 0, 0, 1);
        Color stroke = Color::device(0, 0, 0, 1);
        float lineWidth = 1;
        LineJoin lineJoin = LineJoin::Miter;
        bool antialias = true;
        InterpolationQuality interpolation = InterpolationQuality::Default;
        Point patternPhase;
    };

    std::uint32_t* _pixels;
    int _width;
    int _height;
    QImage* _image;
    State _state;
    std::vector<State> _saved;
};
