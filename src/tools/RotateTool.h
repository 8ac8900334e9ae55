#pragma once

#include "raster/Geometry.h"
#include "tools/Tool.h"

class ToolDocument;

// Drag to turn the view about the canvas centre; the turned picture is
// previewed during the drag and the view transform changes once, at the
// end.
class RotateTool : public Tool {
public:
    explicit RotateTool(ToolDocument& document);

    void toolDownEvent(const ToolEvent& event, ToolView& view, Point at) override;
    void toolMoveEvent(const ToolEvent& event, Point to) override;
    void toolUpEvent(const ToolEvent& event) override;
    void toolDrawInView(ToolView& view) override;
    ToolCursor toolCursor() const override { return _rotate_cursor; }

    // The live preview angle in degrees for the drag so far.
    float previewAngle() const;

private:
    ToolCursor _rotate_cursor;
    ToolDocument& _document; // not owned
    bool _rotate_down = false;
    ToolView* _view = nullptr; // not owned
    Point _rotate_first;
    Point _rotate_last;
};
