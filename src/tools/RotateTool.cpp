#include "tools/RotateTool.h"

#include "tools/ToolDocument.h"

RotateTool::RotateTool(ToolDocument& document)
    : _rotate_cursor(loadCursor("rotate_cursor", {6, 6})), _document(document) {}

void RotateTool::toolDownEvent(const ToolEvent&, ToolView& view, Point) {
    _view = &view;
}
void RotateTool::toolMoveEvent(const ToolEvent&, Point) {}
void RotateTool::toolUpEvent(const ToolEvent&) {
    after(_document);
}
void RotateTool::toolDrawInView(ToolView&) {}
float RotateTool::previewAngle() const {
    return 0;
}
