#include "tools/MoveTool.h"

#include "model/VimoCanvas.h"
#include "tools/ToolDocument.h"
#include "tools/ToolFeedback.h"
#include "tools/ToolView.h"

#include <QPainter>

MoveTool::MoveTool(ToolDocument& document)
    : _move_cursor(loadCursor("move_cursor", {6, 6})), _document(document) {}

void MoveTool::toolDownEvent(const ToolEvent&, ToolView& view, Point p) {
    _move_down = true;
    _move_first = _move_last = p;
    _view = &view;
}

void MoveTool::toolMoveEvent(const ToolEvent&, Point p) {
    _move_last = p;
    if (_view) _view->setNeedsDisplay();
}

void MoveTool::toolDrawInView(ToolView& view) {
    if (!_move_down) return;
    QPainter* painter = view.overlayPainter();
    VimoCanvas* canvas = view.canvas();
    if (!painter || !canvas) return;
    painter->save();
    painter->translate(double(_move_last.x - _move_first.x), double(_move_last.y - _move_first.y));
    ToolFeedback::drawBitmap(*painter, canvas->previewBitmap());
    painter->restore();
}

void MoveTool::toolUpEvent(const ToolEvent&) {
    _move_down = false;
    if (_view) {
        _view->moveFrom(_move_first, _move_last);
        _view->setNeedsDisplay();
    }
    after(_document);
}
