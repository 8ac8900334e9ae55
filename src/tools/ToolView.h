#pragma once

#include "raster/Color.h"
#include "raster/Geometry.h"

class VimoCanvas;

// What a tool needs from the view it acts in. The application's document
// view implements it with a widget; tests implement it with a plain canvas.
class ToolView {
public:
    virtual ~ToolView() = default;

    // The canvas shown by the view (null while the view has none).
    virtual VimoCanvas* canvas() = 0;
    // The zoom factor: the length of the canvas transform's x unit vector.
    virtual float scale() const = 0;
    // The view's bounds in view coordinates.
    virtual Rect bounds() const = 0;
    // Marks a rectangle (view = bitmap coordinates) as needing display.
    virtual void setNeedsDisplayInRect(const Rect& r) = 0;
    virtual void setNeedsDisplay() = 0;
    // The background colour of the view's window (shown where the drawing is
    // transparent).
    virtual Color windowBackgroundColor() const = 0;
    // The current tool's cursor changed.
    virtual void refreshCursor() = 0;
    // Strokes must be drawn again from this index on (0: everything).
    virtual void redrawFromStroke(int index) = 0;
};
