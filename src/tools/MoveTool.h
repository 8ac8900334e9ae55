#pragma once

#include "raster/Geometry.h"
#include "tools/Tool.h"

class ToolDocument;

// Drag to pan the view; the shifted picture is previewed during the drag and
// the view transform changes once, at the end. Also the tool the view
// selects while the space bar is held.
class MoveTool : public Tool {
public:
    explicit MoveTool(ToolDocument& document);

    void toolDownEvent(const ToolEvent& event, ToolView& view, Point at) override;
    void toolMoveEvent(const ToolEvent& event, Point to) override;
    void toolUpEvent(const ToolEvent& event) override;
    void toolDrawInView(ToolView& view) override;
    ToolCursor toolCursor() const override { return _move_cursor; }

private:
    ToolCursor _move_cursor;
    ToolDocument& _document; // not owned
    bool _move_down = false;
    ToolView* _view = nullptr; // not owned
    Point _move_first;
    Point _move_last;
};
