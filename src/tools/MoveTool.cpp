#include "tools/MoveTool.h"

#include "tools/ToolDocument.h"

MoveTool::MoveTool(ToolDocument& document)
    : _move_cursor(loadCursor("move_cursor", {6, 6})), _document(document) {}

void MoveTool::toolDownEvent(const ToolEvent&, ToolView& view, Point) {
    _view = &view;
}
void MoveTool::toolMoveEvent(const ToolEvent&, Point) {}
void MoveTool::toolUpEvent(const ToolEvent&) {
    after(_document);
}
void MoveTool::toolDrawInView(ToolView&) {}
