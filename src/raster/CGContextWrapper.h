#pragma once

#include "raster/Color.h"

class GraphicsContext;

// The graphics-context object every Bitmap owns: forwards state calls to the
// bitmap's GraphicsContext and keeps a small record of its own (the last
// colours, line width, interpolation, pattern phase and antialias setting).
class CGContextWrapper {
public:
    explicit CGContextWrapper(GraphicsContext& context);
    GraphicsContext& contextRef() const { return _context; }

private:
    GraphicsContext& _context;
};
