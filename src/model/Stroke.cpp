#include "model/Stroke.h"

#include "model/AffineTransform.h"
#include "model/BezierPath.h"
#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"
#include "model/PenPoints.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"
#include "raster/CGContextWrapper.h"
#include "raster/GraphicsContext.h"
#include "raster/Path.h"

#include <cmath>

namespace {

constexpr int lastTransferMode = 7;
constexpr int darkerMode = 2;
constexpr int lighterMode = 3;
constexpr unsigned int highInterpolation = 3;

QImage inStrokeFormat(const QImage& image) {
    return image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
}

} // namespace

Stroke::Stroke() = default;
Stroke::~Stroke() = default;

std::shared_ptr<Stroke> Stroke::initWithBezierPath(std::shared_ptr<BezierPath> path,
                                                   const Color& color, int transferMode,
                                                   float opacity) {
    auto stroke = std::shared_ptr<Stroke>(new Stroke());
    stroke->setPathAndPaint(std::move(path), color, transferMode, opacity);
    return stroke;
}

void Stroke::setPathAndPaint(std::shared_ptr<BezierPath> path, const Color& color, int transferMode,
                             float opacity) {
    _path = std::move(path);
    _color = color;
    _transfer_mode = transferMode;
    _opacity = opacity;
    rebuildGeometry();
}

std::shared_ptr<Stroke> Stroke::initWithBezierStroke(std::shared_ptr<BezierPath> path,
                                                     const Color& color, int transferMode,
                                                     float opacity) {
    // An outlined path: the same stroke, with the path's own line width kept
    // and the bounds grown by half of it.
    auto stroke = std::shared_ptr<Stroke>(new Stroke());
    stroke->_stroke = true;
    stroke->_line_width = path ? path->lineWidth() : 1.0f;
    stroke->setPathAndPaint(std::move(path), color, transferMode, opacity);
    return stroke;
}

std::shared_ptr<Stroke> Stroke::initWithPenPoints(std::shared_ptr<PenPoints> points,
                                                  const Color& color, int transferMode,
                                                  float opacity) {
    if (!points) return nullptr;
    auto stroke = std::shared_ptr<Stroke>(new Stroke());
    stroke->_pen_points = std::move(points);
    stroke->_outline_pending = true;
    stroke->_color = color;
    stroke->_transfer_mode = transferMode;
    stroke->_opacity = opacity;
    stroke->rebuildGeometry();
    // No outline (damaged samples), or bounds that are not numbers.
    if (!stroke->_outline_pending || stroke->_bounds.hasNaN()) return nullptr;
    return stroke;
}

std::shared_ptr<Stroke>
Stroke::initWithImage(const QImage& image, std::shared_ptr<BezierPath> cornerPath, float opacity) {
    auto stroke = std::shared_ptr<Stroke>(new Stroke());
    stroke->_image = inStrokeFormat(image);
    stroke->_path = std::move(cornerPath);
    stroke->_opacity = opacity;
    stroke->rebuildGeometry();
    return stroke;
}

WindingRule Stroke::windingRule() const {
    const auto& path = bezierPath();
    return path ? path->windingRule() : NonZeroWindingRule;
}

const std::shared_ptr<BezierPath>& Stroke::bezierPath() const {
    if (_outline_pending) {
        _outline_pending = false;
        _path = _pen_points->buildPath();
    }
    return _path;
}

const Path* Stroke::cgPath() const {
    if (!_cg_path && bezierPath()) _cg_path = std::make_unique<Path>(_path->elements());
    return _cg_path.get();
}

void Stroke::rebuildGeometry() {
    _cg_path.reset();
    if (_outline_pending) {
        // A pen stroke's outline is made when first needed; its bounds are
        // known without it.
        const std::optional<Rect> outline = _pen_points->outlineBounds();
        if (!outline) _outline_pending = false;
        _bounds = outline.value_or(Rect{});
    } else {
        _bounds = _path ? _path->bounds() : Rect{};
    }
    // Only an outlined stroke's line reaches beyond its path.
    if (_stroke) _bounds = insetRect(_bounds, -_line_width / 2, -_line_width / 2);
}

bool Stroke::bad() const {
    if (_image) return false;
    if (!_path && !_outline_pending) return true;
    if (_bounds.hasNaN()) return true;
    // The path is asked afresh: it may have been changed since. An outline
    // not made yet is known only through the bounds.
    if (!_outline_pending && _path->bounds().hasNaN()) return true;
    // A mode no transfer knows (only ever read from a damaged file).
    return _transfer_mode < 0 || _transfer_mode > lastTransferMode;
}

void Stroke::transformUsingAffineTransform(const AffineTransform& t) {
    // The outline moves with the samples as it stands, not made anew.
    bezierPath();
    if (_pen_points) _pen_points->transformUsingAffineTransform(t);
    if (_path) _path->transformUsingAffineTransform(t);
    rebuildGeometry();
}

void Stroke::appendBezierPathKeepingBounds(const BezierPath& other) {
    if (!bezierPath()) _path = std::make_shared<BezierPath>();
    _path->appendBezierPath(other);
    _cg_path.reset();
    _pen_points.reset();
}

void Stroke::pathChanged() {
    rebuildGeometry();
}

Rect Stroke::drawInCanvas(VimoCanvas& canvas) const {
    Bitmap& strokeBitmap = canvas.strokeBitmap();
    Bitmap& drawBitmap = canvas.drawBitmap();
    if (_image) {
        // Images go straight onto the picture, composited with their opacity.
        const Rect touched = drawInContext(drawBitmap.cgContext());
        const Rect r = strokeBitmap.worldRectToBitmapRect(touched);
        drawBitmap.copyRect(r, canvas.previewBitmap());
        return r;
    }
    // Painted alone first, so that mode and opacity apply once to the whole
    // stroke and overlapping parts of it never build up.
    const Rect touched = drawInContext(strokeBitmap.cgContext());
    const Rect r = strokeBitmap.worldRectToBitmapRect(touched);
    strokeBitmap.transferRect(r, drawBitmap, _transfer_mode, _opacity);
    drawBitmap.copyRect(r, canvas.previewBitmap());
    strokeBitmap.fillRect(r, TRANSPARENT);
    return r;
}

AffineMatrix Stroke::imageTransform() const {
    if (!_image || !_path || _path->elementCount() < 4) return AffineMatrix::identity();
    const Point p0 = _path->element(0).points[0];
    const Point p1 = _path->element(1).points[0];
    const Point p3 = _path->element(3).points[0];
    const float w = float(_image->width()), h = float(_image->height());
    AffineTransform t;
    t.translateXBy((p1.x + p3.x) / 2, (p1.y + p3.y) / 2);
    t.rotateByRadians(std::atan2(p1.y - p0.y, p1.x - p0.x));
    t.scaleXBy(std::hypot(p1.x - p0.x, p1.y - p0.y) / w, std::hypot(p3.x - p0.x, p3.y - p0.y) / h);
    t.scaleXBy(1, -1);
    t.translateXBy(-w / 2, -h / 2);
    return t.transformStruct();
}

void Stroke::drawImageInContext(CGContextWrapper& context) const {
    if (!_path || _path->elementCount() < 4 || _image->isNull()) return;
    CGContextWrapper* previous = CGContextWrapper::currentContext();
    CGContextWrapper::setCurrentContext(&context);
    context.saveGraphicsState();
    context.contextRef().concatCTM(imageTransform());
    context.setImageInterpolation(highInterpolation);
    const Rect whole{0, 0, float(_image->width()), float(_image->height())};
    context.contextRef().drawImage(whole, *_image, _opacity);
    context.restoreGraphicsState();
    CGContextWrapper::setCurrentContext(previous);
}

Rect Stroke::drawInContext(CGContextWrapper& context) const {
    if (_image) {
        const Path* path = cgPath();
        const Rect touched = path ? path->boundsInContext(context) : Rect{};
        drawImageInContext(context);
        return touched;
    }
    if (_color) {
        context.setFillColor(*_color);
        context.setStrokeColor(*_color);
    }
    context.setLineWidth(_line_width);
    const Path* path = cgPath();
    if (!path) return {};
    if (_stroke) return path->strokeInContext(context);
    return path->fillInContext(context, windingRule());
}

void Stroke::draw() const {
    CGContextWrapper* context = CGContextWrapper::currentContext();
    if (!context) return;
    if (_image) {
        drawImageInContext(*context);
        return;
    }
    const Path* path = cgPath();
    if (!path) return;
    if (_color) {
        context->setFillColor(*_color);
        context->setStrokeColor(*_color);
    }
    if (_stroke) {
        context->setLineWidth(_line_width);
        path->strokeInContext(*context);
        return;
    }
    // The whole path at once, as a vector path is filled (no batches).
    GraphicsContext& g = context->contextRef();
    path->loadPathInContext(g);
    if (windingRule() == EvenOddWindingRule)
        g.eoFillPath();
    else
        g.fillPath();
}

bool Stroke::canCombineStrokeWith(const Stroke& other) const {
    if (_image || other._image) return false;
    if (_transfer_mode != other._transfer_mode) return false;
    if (_opacity != 1.0f || other._opacity != 1.0f) return false;
    // Darker and lighter compare against the picture per colour; every other
    // mode combines strokes of any colour.
    if (_transfer_mode == darkerMode || _transfer_mode == lighterMode)
        return _color == other._color;
    return true;
}

bool Stroke::canVectorDraw() const {
    if (_image) return true;
    return _transfer_mode == 0 && _opacity == 1.0f;
}

void Stroke::encodeWithCoder(KeyedArchiver& coder) const {
    // A pen stroke's outline is rebuilt on reading, never written.
    if (_pen_points)
        coder.encodeObject(_pen_points.get(), "pen_points");
    else
        coder.encodeBezierPath(_path.get(), "path");
    coder.encodeColor(_color, "color");
    coder.encodeInt(_transfer_mode, "transfer_mode");
    coder.encodeFloat(_opacity, "opacity");
    // The presence of the line width is what marks an outlined stroke.
    if (_stroke) coder.encodeFloat(_line_width, "line_width");
    if (_image) coder.encodeImage(&*_image, "image");
}

std::shared_ptr<Codable> Stroke::initWithCoder(KeyedUnarchiver& coder) {
    auto stroke = std::shared_ptr<Stroke>(new Stroke());
    if (coder.containsValueForKey("pen_points")) {
        stroke->_pen_points = coder.decodeObjectOfClass<PenPoints>("pen_points");
        stroke->_outline_pending = stroke->_pen_points != nullptr;
    } else {
        stroke->_path = coder.decodeBezierPath("path");
    }
    if (std::optional<QImage> image = coder.decodeImage("image"))
        stroke->_image = inStrokeFormat(*image);
    stroke->_color = coder.decodeColor("color");
    stroke->_opacity = coder.decodeFloat("opacity");
    const std::int64_t mode = coder.decodeInt("transfer_mode");
    // Out-of-range modes stay out of range (so the stroke is bad()) without
    // overflowing.
    stroke->_transfer_mode = mode >= 0 && mode <= lastTransferMode ? int(mode) : -1;
    if (coder.containsValueForKey("line_width")) {
        stroke->_stroke = true;
        stroke->_line_width = coder.decodeFloat("line_width");
    }
    stroke->rebuildGeometry();
    return stroke;
}
