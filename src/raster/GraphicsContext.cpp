#include "raster/GraphicsContext.h"

#include "raster/Path.h"

#include <QPainter>
#include <QPainterPath>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace {

std::uint32_t channel(float v) {
    if (!(v > 0)) return 0; // negatives and NaN
    if (v >= 1) return 255;
    return static_cast<std::uint32_t>(v * 255.0f + 0.5f);
}

float unit(float v) {
    return v > 0 ? std::min(v, 1.0f) : 0.0f;
}

QColor toQColor(const Color& c) {
    return QColor::fromRgbF(unit(c.redComponent()), unit(c.greenComponent()),
                            unit(c.blueComponent()), unit(c.alphaComponent()));
}

Qt::PenJoinStyle toQt(GraphicsContext::LineJoin j) {
    switch (j) {
    case GraphicsContext::LineJoin::Round:
        return Qt::RoundJoin;
    case GraphicsContext::LineJoin::Bevel:
        return Qt::BevelJoin;
    case GraphicsContext::LineJoin::Miter:
        break;
    }
    return Qt::SvgMiterJoin;
}

} // namespace

GraphicsContext::GraphicsContext(std::uint32_t* pixels, int width, int height, QImage* image)
    : _pixels(pixels), _width(width), _height(height), _image(image) {
    if (!_image && _pixels && width > 0 && height > 0) {
        _ownImage = QImage(reinterpret_cast<uchar*>(_pixels), width, height, width * 4,
                           QImage::Format_RGBA8888_Premultiplied);
        _image = &_ownImage;
    }
}

GraphicsContext::~GraphicsContext() = default;

void GraphicsContext::saveGState() {
    _saved.push_back(_state);
}

void GraphicsContext::restoreGState() {
    if (_saved.empty()) return;
    _state = _saved.back();
    _saved.pop_back();
}

std::uint32_t GraphicsContext::premultiplied(const Color& c) {
    const float a = unit(c.alphaComponent());
    const std::uint32_t r = channel(unit(c.redComponent()) * a);
    const std::uint32_t g = channel(unit(c.greenComponent()) * a);
    const std::uint32_t b = channel(unit(c.blueComponent()) * a);
    return channel(a) << 24 | b << 16 | g << 8 | r;
}

QTransform GraphicsContext::rasterTransform() const {
    const AffineMatrix& m = _state.ctm;
    return QTransform(m.a, -double(m.b), m.c, -double(m.d), m.tx, double(_height) - m.ty);
}

// ---- Current path ----------------------------------------------------------

void GraphicsContext::beginPath() {
    _path.clear();
    _hasCurrentPoint = false;
    _subpathClosed = false;
    _pathCTMVaries = false;
}

void GraphicsContext::addPoint(std::int32_t type, int count, const float* xy) {
    const AffineMatrix& m = _state.ctm;
    if (_path.empty()) {
        _pathCTM = m;
        _userMin = {xy[0], xy[1]};
        _userMax = _userMin;
    } else if (!(m == _pathCTM)) {
        _pathCTMVaries = true;
    }
    PathElement e;
    e.type = type;
    for (int i = 0; i < count; ++i) {
        const double x = xy[2 * i], y = xy[2 * i + 1];
        _userMin = {std::min(_userMin.x, xy[2 * i]), std::min(_userMin.y, xy[2 * i + 1])};
        _userMax = {std::max(_userMax.x, xy[2 * i]), std::max(_userMax.y, xy[2 * i + 1])};
        e.points[i] = {static_cast<float>(m.a * x + m.c * y + double(m.tx)),
                       static_cast<float>(double(_height) - (m.b * x + m.d * y + double(m.ty)))};
    }
    _path.push_back(e);
}

void GraphicsContext::moveToPoint(float x, float y) {
    const float xy[2] = {x, y};
    addPoint(MoveToElement, 1, xy);
    _subpathStart = _path.back().points[0];
    _hasCurrentPoint = true;
    _subpathClosed = false;
}

bool GraphicsContext::reopenSubpath() {
    if (!_hasCurrentPoint) return false;
    if (_subpathClosed) {
        // A new subpath that starts where the closed one did.
        PathElement m;
        m.type = MoveToElement;
        m.points[0] = _subpathStart;
        _path.push_back(m);
        _subpathClosed = false;
    }
    return true;
}

void GraphicsContext::addLineToPoint(float x, float y) {
    if (!reopenSubpath()) return;
    const float xy[2] = {x, y};
    addPoint(LineToElement, 1, xy);
}

void GraphicsContext::addCurveToPoint(float cp1x, float cp1y, float cp2x, float cp2y, float x,
                                      float y) {
    if (!reopenSubpath()) return;
    const float xy[6] = {cp1x, cp1y, cp2x, cp2y, x, y};
    addPoint(CurveToElement, 3, xy);
}

void GraphicsContext::closePath() {
    if (!_hasCurrentPoint || _subpathClosed) return;
    PathElement c;
    c.type = ClosePathElement;
    _path.push_back(c);
    _subpathClosed = true;
}

Rect GraphicsContext::pathBoundingBox() const {
    if (_path.empty()) return {};
    if (!_pathCTMVaries && _state.ctm == _pathCTM)
        return {_userMin.x, _userMin.y, _userMax.x - _userMin.x, _userMax.y - _userMin.y};
    // The CTM changed since the points were added: map them back by the
    // current one, as the path is kept in raster space.
    bool invertible = false;
    const QTransform inverse = rasterTransform().inverted(&invertible);
    if (!invertible) return {};
    double x0 = INFINITY, y0 = INFINITY, x1 = -INFINITY, y1 = -INFINITY;
    for (const PathElement& e : _path) {
        const int n = e.type == CurveToElement ? 3 : e.type == ClosePathElement ? 0 : 1;
        for (int i = 0; i < n; ++i) {
            const QPointF p = inverse.map(QPointF(e.points[i].x, e.points[i].y));
            x0 = std::min(x0, p.x());
            y0 = std::min(y0, p.y());
            x1 = std::max(x1, p.x());
            y1 = std::max(y1, p.y());
        }
    }
    return {float(x0), float(y0), float(x1 - x0), float(y1 - y0)};
}

// ---- Painting --------------------------------------------------------------

void GraphicsContext::fillWith(CoverageRasterizer::FillRule rule) {
    if (_pixels && !_path.empty()) {
        _rasterizer.reset(_width, _height);
        for (const PathElement& e : _path) {
            const Point* p = e.points;
            switch (e.type) {
            case MoveToElement:
                _rasterizer.moveTo(p[0].x, p[0].y);
                break;
            case LineToElement:
                _rasterizer.lineTo(p[0].x, p[0].y);
                break;
            case CurveToElement:
                _rasterizer.cubicTo(p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y);
                break;
            case ClosePathElement:
                _rasterizer.closePath();
                break;
            default:
                break;
            }
        }
        _rasterizer.fill(_pixels, premultiplied(_state.fill), rule, _state.antialias);
    }
    beginPath();
}

void GraphicsContext::fillPath() {
    fillWith(CoverageRasterizer::FillRule::NonZero);
}

void GraphicsContext::eoFillPath() {
    fillWith(CoverageRasterizer::FillRule::EvenOdd);
}

bool GraphicsContext::beginPainter(QPainter& painter) {
    if (!_image || _image->isNull() || !painter.begin(_image)) return false;
    painter.setRenderHint(QPainter::Antialiasing, _state.antialias);
    painter.setRenderHint(QPainter::SmoothPixmapTransform,
                          _state.interpolation != InterpolationQuality::None);
    painter.setTransform(rasterTransform());
    return true;
}

void GraphicsContext::strokePath() {
    bool invertible = false;
    const QTransform inverse = rasterTransform().inverted(&invertible);
    QPainter painter;
    if (_path.empty() || !invertible || !(_state.lineWidth >= 0) || !beginPainter(painter)) {
        beginPath();
        return;
    }
    const QPainterPath qpath = inverse.map(Path::painterPath(_path, AffineMatrix::identity()));
    QPen pen(toQColor(_state.stroke), double(_state.lineWidth), Qt::SolidLine, Qt::FlatCap,
             toQt(_state.lineJoin));
    pen.setMiterLimit(10);
    painter.strokePath(qpath, pen);
    painter.end();
    beginPath();
}

void GraphicsContext::drawImage(const Rect& r, const QImage& image, float fraction) {
    if (image.isNull() || r.isEmpty() || r.hasNaN() || !(fraction > 0)) return;
    QPainter painter;
    if (!beginPainter(painter)) return;
    painter.setOpacity(double(std::min(fraction, 1.0f)));
    // User space is y up: the image stands upright in it, its top row along
    // the rectangle's maxY edge.
    painter.translate(0, double(r.y) * 2 + double(r.height));
    painter.scale(1, -1);
    painter.drawImage(QRectF(r.x, r.y, r.width, r.height), image, QRectF(image.rect()));
    painter.end();
}
