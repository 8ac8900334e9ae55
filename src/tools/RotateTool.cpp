#include "tools/RotateTool.h"

#include "model/VimoCanvas.h"
#include "tools/ToolDocument.h"
#include "tools/ToolFeedback.h"
#include "tools/ToolView.h"

#include <QPainter>

#include <cmath>

RotateTool::RotateTool(ToolDocument& document)
    : _rotate_cursor(loadCursor("rotate_cursor", {6, 6})), _document(document) {}

void RotateTool::toolDownEvent(const ToolEvent&, ToolView& view, Point p) {
    _rotate_down = true;
    _rotate_first = _rotate_last = p;
    _view = &view;
}

void RotateTool::toolMoveEvent(const ToolEvent&, Point p) {
    _rotate_last = p;
    if (_view) _view->setNeedsDisplay();
}

float RotateTool::previewAngle() const {
    if (!_view || !_view->canvas()) return 0;
    const Size s = _view->canvas()->size();
    const Point c{s.width / 2, s.height / 2};
    const auto a1 = float(std::atan2(double(_rotate_first.y - c.y), double(_rotate_first.x - c.x)));
    const auto a2 = float(std::atan2(double(_rotate_last.y - c.y), double(_rotate_last.x - c.x)));
    // Degrees with pi to eight decimals, as the view turns by it.
    return (a2 - a1) * 180.0f / 3.14159265f;
}

void RotateTool::toolDrawInView(ToolView& view) {
    if (!_rotate_down) return;
    QPainter* painter = view.overlayPainter();
    VimoCanvas* canvas = view.canvas();
    if (!painter || !canvas) return;
    // The picture turned about the centre. The view's y axis points down,
    // so a positive angle turns it clockwise on screen, as the view will.
    const Size s = canvas->size();
    painter->save();
    painter->translate(double(s.width / 2), double(s.height / 2));
    painter->rotate(double(previewAngle()));
    painter->translate(double(-s.width / 2), double(-s.height / 2));
    ToolFeedback::drawBitmap(*painter, canvas->previewBitmap());
    painter->restore();
}

void RotateTool::toolUpEvent(const ToolEvent&) {
    _rotate_down = false;
    if (_view) {
        _view->rotateFrom(_rotate_first, _rotate_last);
        _view->setNeedsDisplay();
    }
    after(_document);
}
