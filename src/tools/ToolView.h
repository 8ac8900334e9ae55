#pragma once

#include "raster/Color.h"
#include "raster/Geometry.h"

class QPainter;
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

    // Feedback drawing: while a tool's toolDrawInView runs, a painter over
    // the composited picture in view coordinates (y down), clipped to the
    // area being displayed; null at any other time.
    virtual QPainter* overlayPainter() = 0;

    // View commands, in view coordinates. Each changes the canvas's view
    // transform, redraws everything and marks the document as changed (the
    // view transform is saved with the drawing).
    // Scales by factor and brings the world point under p to the centre.
    virtual void zoomToPoint(Point p, float factor) = 0;
    // Fits a rectangle to the view without margin.
    virtual void zoomToBitmapRect(const Rect& r) = 0;
    // Turns the view about its centre by the angle from p1 to p2.
    virtual void rotateFrom(Point p1, Point p2) = 0;
    // Pans so that the point under p1 comes under p2.
    virtual void moveFrom(Point p1, Point p2) = 0;
};
