#pragma once

#include "raster/AffineMatrix.h"
#include "raster/Color.h"
#include "raster/CoverageRasterizer.h"
#include "raster/Geometry.h"
#include "raster/PathElement.h"

#include <QImage>

#include <cstdint>
#include <vector>

class QPainter;
class QTransform;

// A 2D drawing context over one bitmap's premultiplied RGBA memory: a current
// transformation matrix (user space -> bitmap coordinates, y up), a stack of
// graphics states, a current path, and fill/stroke/image drawing.
//
// Drawing maps user space by the CTM to bitmap coordinates, then bitmap y up
// to memory rows (row = height - y). Fills go through a coverage rasteriser
// straight into the pixels; strokes and images are drawn with QPainter over
// the same memory.
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

    // The current path. Points are given in user space and mapped by the CTM
    // in force when each is added. A line or curve without a current point is
    // ignored; after closePath() the current point is the subpath's start.
    // The path is not part of the graphics state.
    void beginPath();
    void moveToPoint(float x, float y);
    void addLineToPoint(float x, float y);
    void addCurveToPoint(float cp1x, float cp1y, float cp2x, float cp2y, float x, float y);
    void closePath();
    bool isPathEmpty() const { return _path.empty(); }
    // The bounding box of the current path in user space, control points
    // included; the zero rectangle for an empty path.
    Rect pathBoundingBox() const;

    // Painting the current path; each one consumes it. Fills close open
    // subpaths; strokes use the line width, join and stroke colour.
    void fillPath();
    void eoFillPath();
    void strokePath();

    // Draws the whole image into the user-space rectangle r, source over,
    // scaled by fraction (0..1). The image stands upright in user space (y
    // up): its first row lies along r's maxY edge. Image strokes flip their
    // CTM so that the first row lands at low y, the top of the y-down view
    // the canvas is shown in. Interpolation None samples the nearest pixel; the
    // other qualities filter smoothly.
    void drawImage(const Rect& r, const QImage& image, float fraction = 1);

    int width() const { return _width; }
    int height() const { return _height; }

    // A colour as a packed premultiplied word (a<<24 | b<<16 | g<<8 | r);
    // components are clamped to 0..1.
    static std::uint32_t premultiplied(const Color& c);

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

    // User space to raster space (x right, y down from the top row).
    QTransform rasterTransform() const;
    void addPoint(std::int32_t type, int count, const float* xy);
    // Before a line or curve: false without a current point; after a close,
    // starts a new subpath where the closed one began.
    bool reopenSubpath();
    bool beginPainter(QPainter& painter);
    void fillWith(CoverageRasterizer::FillRule rule);

    std::uint32_t* _pixels;
    int _width;
    int _height;
    QImage* _image;
    QImage _ownImage; // over _pixels when no image was given
    State _state;
    std::vector<State> _saved;

    // Current path in raster space; every subpath starts with a move-to.
    std::vector<PathElement> _path;
    bool _hasCurrentPoint = false;
    bool _subpathClosed = false;
    Point _subpathStart;      // raster space
    Point _userMin, _userMax; // user-space bounds of the points added
    AffineMatrix _pathCTM;    // CTM of the first point
    bool _pathCTMVaries = false;
    CoverageRasterizer _rasterizer;
};
