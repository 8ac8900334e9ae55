#include "raster/CGContextWrapper.h"

#include "raster/GraphicsContext.h"

namespace {
CGContextWrapper* current = nullptr;
} // namespace

CGContextWrapper::CGContextWrapper(GraphicsContext& context) : _context(context) {}

CGContextWrapper::~CGContextWrapper() {
    if (current == this) current = nullptr;
}

CGContextWrapper* CGContextWrapper::currentContext() {
    return current;
}

void CGContextWrapper::setCurrentContext(CGContextWrapper* context) {
    current = context;
}

void CGContextWrapper::flushGraphics() {
    _context.flush();
}

void CGContextWrapper::saveGraphicsState() {
    _context.saveGState();
}

void CGContextWrapper::restoreGraphicsState() {
    _context.restoreGState();
}

void CGContextWrapper::setImageInterpolation(unsigned interpolation) {
    _image_interpolation = interpolation;
    using Q = GraphicsContext::InterpolationQuality;
    Q quality = Q::Default;
    if (interpolation == 1) quality = Q::None;
    if (interpolation == 2) quality = Q::Low;
    if (interpolation == 3) quality = Q::High;
    _context.setInterpolationQuality(quality);
}

void CGContextWrapper::setPatternPhase(Point phase) {
    _pattern_phase = phase;
    _context.setPatternPhase(phase.x, phase.y);
}

void CGContextWrapper::setShouldAntialias(bool flag) {
    _should_antialias = flag;
    _context.setShouldAntialias(flag);
}

void CGContextWrapper::setFillColor(const Color& color) {
    if (color == _fill_color) return;
    _fill_color = color;
    _context.setFillColor(color.usingSpace(Color::Space::CalibratedRGB));
}

void CGContextWrapper::setStrokeColor(const Color& color) {
    if (_stroke_color && color == *_stroke_color) return;
    _stroke_color = color;
    _context.setStrokeColor(color.usingSpace(Color::Space::CalibratedRGB));
}

void CGContextWrapper::setLineWidth(float width) {
    _context.setLineWidth(width);
    _line_width = width;
}
