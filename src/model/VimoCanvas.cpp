#include "model/VimoCanvas.h"

#include <algorithm>
#include <cmath>

#include "model/RewindBuffer.h"

VimoCanvas::VimoCanvas(Size size)
    : _draw(std::make_unique<Bitmap>(size)), _stroke(std::make_unique<Bitmap>(size)),
      _preview(std::make_unique<Bitmap>(size)), _rewind_buffer(std::make_unique<RewindBuffer>()) {
    _draw->fill(TRANSPARENT);
    _preview->fill(TRANSPARENT);
    _stroke->fill(TRANSPARENT);
}

VimoCanvas::~VimoCanvas() = default;

Size VimoCanvas::size() const {
    return _draw->size();
}

AffineMatrix VimoCanvas::transform() const {
    return _draw->transform();
}

void VimoCanvas::setTransform(const AffineMatrix& t) {
    _draw->setTransform(t);
    copyTransforms();
}

void VimoCanvas::scale(float factor) {
    _draw->scale(factor);
    copyTransforms();
}

void VimoCanvas::translate(Point offset) {
    _draw->translate(offset);
    copyTransforms();
}

void VimoCanvas::rotate(float radians) {
    _draw->rotate(radians);
    copyTransforms();
}

void VimoCanvas::copyTransforms() {
    // The draw bitmap is the master; the others follow it.
    const AffineMatrix t = _draw->transform();
    _stroke->setTransform(t);
    _preview->setTransform(t);
}

Rect VimoCanvas::worldRectToBitmapRect(const Rect& r) const {
    return _draw->worldRectToBitmapRect(r);
}

Point VimoCanvas::bitmapPointToWorldPoint(Point p) const {
    return _draw->bitmapPointToWorldPoint(p);
}

Point VimoCanvas::worldPointToBitmapPoint(Point p) const {
    return _draw->worldPointToBitmapPoint(p);
}

void VimoCanvas::fill(std::uint32_t color) {
    _draw->fill(color);
    _preview->fill(color);
}

void VimoCanvas::endPreview(const Rect& r) {
    _stroke->fillRect(r, TRANSPARENT);
    _draw->copyRect(r, *_preview);
}

std::uint32_t VimoCanvas::colorAt(Point p) const {
    return _preview->colorAt(p);
}

void VimoCanvas::rotateAroundPoint(Point p, float angle) {
    const Point before = bitmapPointToWorldPoint(p);
    rotate(angle);
    const Point centre = bitmapPointToWorldPoint({size().width / 2, size().height / 2});
    translate({centre.x - before.x, centre.y - before.y});
}

void VimoCanvas::zoomToPoint(Point p, float factor) {
    const Point before = bitmapPointToWorldPoint(p);
    scale(factor);
    const Point centre = bitmapPointToWorldPoint({size().width / 2, size().height / 2});
    translate({centre.x - before.x, centre.y - before.y});
}

void VimoCanvas::zoomToBitmapRect(const Rect& r) {
    const Size s = size();
    zoomToPoint({r.x + r.width / 2, r.y + r.height / 2},
                std::min(s.width / r.width, s.height / r.height));
}

void VimoCanvas::rotateFrom(Point p1, Point p2) {
    const Point c{size().width / 2, size().height / 2};
    // Each angle is narrowed to single precision before the difference.
    const auto a1 = float(std::atan2(double(p1.y - c.y), double(p1.x - c.x)));
    const auto a2 = float(std::atan2(double(p2.y - c.y), double(p2.x - c.x)));
    rotateAroundPoint(c, a2 - a1);
}

void VimoCanvas::moveFrom(Point p1, Point p2) {
    const Size s = size();
    zoomToPoint({s.width / 2 + p1.x - p2.x, s.height / 2 + p1.y - p2.y}, 1);
}

void VimoCanvas::recordRewindBufferStroke(int n) {
    _rewind_buffer->recordStroke(n, *_draw);
}

bool VimoCanvas::wantsToRecordRewindBufferStroke(int i, int n) const {
    return _rewind_buffer->wantsToRecordStroke(i, n);
}

void VimoCanvas::recordRewindBufferStroke(int i, int n) {
    _rewind_buffer->recordStroke(i, n, *_draw);
}

void VimoCanvas::clearRewindBuffer() {
    _rewind_buffer->clear();
}

int VimoCanvas::rewindToBeforeStroke(int k) {
    const Bitmap* snapshot = _rewind_buffer->bitmapBeforeStroke(k);
    if (snapshot) {
        snapshot->copyAllTo(*_draw);
        snapshot->copyAllTo(*_preview);
    } else {
        _draw->fill(TRANSPARENT);
        _preview->fill(TRANSPARENT);
    }
    _rewind_buffer->removeStrokesRecordedAfter(k);
    return k;
}
