#include "tools/ArrowTool.h"

#include "model/AffineTransform.h"
#include "model/Stroke.h"
#include "tools/ToolDocument.h"

ArrowTool::ArrowTool(ToolDocument& document) : _document(document) {}

void ArrowTool::setSelection(const StrokeArray& array) {
    _selection.clear();
    _selection.insert(_selection.end(), array.begin(), array.end());
}

Rect ArrowTool::selectionBounds() const {
    if (_selection.empty()) return {};
    Rect r = _selection.front()->bounds();
    for (std::size_t i = 1; i < _selection.size(); ++i) r = unionRect(r, _selection[i]->bounds());
    return r;
}

AffineTransform ArrowTool::transformFrom(Point, Point) const {
    return AffineTransform();
}

void ArrowTool::toolDownEvent(const ToolEvent&, ToolView& view, Point) {
    _view = &view;
}
void ArrowTool::toolMoveEvent(const ToolEvent&, Point) {}
void ArrowTool::toolUpEvent(const ToolEvent&) {}
void ArrowTool::toolDrawInView(ToolView&) {}
