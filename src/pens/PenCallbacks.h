#pragma once

#include "raster/Geometry.h"
#include "tools/ToolEvent.h"

class CGContextWrapper;
class Lua;
class QPainter;

// How the pen tool drives a custom pen script: pen-down, moves and pen-up
// call the script's "pen_down", "pen_move" and "pen_up" with the context
// record kept up to date around them; penDraw shows the paths that
// "stroke" and "fill" queued. The pen tool sets the context's view and pen
// before each of these.
class PenCallbacks {
public:
    static void penDownAt(Lua& lua, Point world, float radius, const ToolEvent& event);
    static void penMoveTo(Lua& lua, Point world, float radius, const ToolEvent& event);
    static void penUp(Lua& lua);
    // Strokes or fills each queued path, in order, with the pen colour at the
    // pen opacity into context (nothing is drawn without one), then empties
    // the queue.
    static void penDraw(CGContextWrapper* context);
    // The same onto a view's feedback painter (view coordinates, where the
    // queued paths already are): strokes with flat caps and bevel joins,
    // fills under each path's winding rule.
    static void penDraw(QPainter& painter);

private:
    static void redrawAndClear(Rect& r);
};
