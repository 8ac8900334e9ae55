#pragma once

#include "raster/Color.h"

#include <memory>
#include <vector>

class AffineTransform;
class Stroke;
class Strokes;
class Tool;
class ToolView;

// What a tool needs from the document it belongs to: switching tools, the
// tool colour, and adding strokes (undoably). The document implements it.
class ToolDocument {
public:
    virtual ~ToolDocument() = default;

    virtual Tool* tool() const = 0;
    // Makes t the current tool (see Tool for the order of calls).
    virtual void setTool(Tool* t) = 0;
    // The colour picked by a tool for the current tool (pen or fill).
    virtual void setToolColor(const Color& c) = 0;
    // Appends a stroke to the drawing, paints it and registers undo.
    virtual void addStroke(std::shared_ptr<Stroke> stroke) = 0;
    virtual Strokes& strokes() = 0;
    // Transforms strokes of the list (world coordinates) as one undoable
    // "Move" and redraws from the lowest of them.
    virtual void transformStrokesInArray(const std::vector<std::shared_ptr<Stroke>>& array,
                                         const AffineTransform& t) = 0;
    // The document's view, when it has one.
    virtual ToolView* view() = 0;
    // The current tool's cursor changed.
    virtual void refreshCursor() = 0;
};
