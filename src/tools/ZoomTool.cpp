#include "tools/ZoomTool.h"

#include "tools/ToolDocument.h"

ZoomTool::ZoomTool(ToolDocument& document)
    : _zoom_cursor(loadCursor("zoom_cursor", {6, 6})), _document(document) {}

void ZoomTool::toolDownEvent(const ToolEvent&, ToolView& view, Point) {
    _view = &view;
}
void ZoomTool::toolMoveEvent(const ToolEvent&, Point) {}
void ZoomTool::toolUpEvent(const ToolEvent&) {
    after(_document);
}
void ZoomTool::toolDrawInView(ToolView&) {}
void ZoomTool::toolFlagsChanged(const ToolEvent&) {}
ToolCursor ZoomTool::toolCursor() const {
    return _zoom_in_cursor;
}
