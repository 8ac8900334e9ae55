#pragma once

#include "raster/Geometry.h"
#include "tools/Tool.h"

class ToolDocument;

// Click to zoom in (by 2) or, with option, out (by 0.5) about the click
// point; drag a rectangle to fit it to the view. Hands back to the previous
// tool after one gesture when it was picked for one use.
class ZoomTool : public Tool {
public:
    explicit ZoomTool(ToolDocument& document);

    void toolDownEvent(const ToolEvent& event, ToolView& view, Point at) override;
    void toolMoveEvent(const ToolEvent& event, Point to) override;
    void toolUpEvent(const ToolEvent& event) override;
    void toolFlagsChanged(const ToolEvent& event) override;
    void toolDrawInView(ToolView& view) override;
    ToolCursor toolCursor() const override;

    Rect rangeRect() const { return _range_rect; }
    bool zoomDown() const { return _zoom_down; }

private:
    ToolCursor _zoom_cursor;
    ToolCursor _zoom_in_cursor;
    ToolCursor _zoom_out_cursor;
    ToolDocument& _document; // not owned
    bool _option_down = false;
    bool _zoom_down = false;
    bool _zoom_first_set = false;
    ToolView* _view = nullptr; // not owned
    Point _zoom_first;
    Point _zoom_last;
    Rect _range_rect;
};
