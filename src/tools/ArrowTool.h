#pragma once

#include "model/AffineTransform.h"
#include "raster/Geometry.h"
#include "tools/Tool.h"

#include <memory>
#include <optional>
#include <vector>

class Stroke;
class ToolDocument;

// The selection tool: picks strokes by click, shift-click, command-click and
// rubber band, shows the selection over the canvas, and moves, rotates and
// scales the selected strokes by dragging (one undoable "Move" per drag,
// through the document).
class ArrowTool : public Tool {
public:
    using StrokeArray = std::vector<std::shared_ptr<Stroke>>;

    // What the gesture in progress does.
    enum DragMode : int {
        Pending = 0,     // a click that only changed the selection, or not moved far enough yet
        Move = 1,        // move the selection by the drag vector
        RubberBand = 2,  // select strokes inside the dragged rectangle
        RotateScale = 3, // rotate and scale the selection about _drag_center
    };

    explicit ArrowTool(ToolDocument& document);

    const StrokeArray& selection() const { return _selection; }
    void clearSelection() { _selection.clear(); }
    void setSelection(const StrokeArray& array);
    // The union of the selected strokes' bounds (world coordinates); an
    // empty rectangle for an empty selection.
    Rect selectionBounds() const;
    // The rotate-and-scale transform of a drag between two view points about
    // _drag_center.
    AffineTransform transformFrom(Point p1, Point p2) const;

    int dragMode() const { return _drag_mode; }

    void toolDownEvent(const ToolEvent& event, ToolView& view, Point at) override;
    void toolMoveEvent(const ToolEvent& event, Point to) override;
    void toolUpEvent(const ToolEvent& event) override;
    void toolDrawInView(ToolView& view) override;
    ToolCursor toolCursor() const override { return ToolCursor::arrow(); }

private:
    Point world(Point viewPoint) const;
    bool isSelected(const Stroke* s) const;
    // The transform the drag in progress would apply, if it moves or turns.
    std::optional<AffineTransform> liveTransform() const;

    ToolDocument& _document;   // not owned
    ToolView* _view = nullptr; // the view of the last down event; not owned
    StrokeArray _selection;
    int _drag_mode = Pending;
    Point _drag_origin;
    Point _drag_destination;
    Point _drag_center; // world coordinates
};
