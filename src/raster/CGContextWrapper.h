#pragma once

#include "raster/Color.h"
#include "raster/Geometry.h"

#include <optional>

class GraphicsContext;

// The graphics-context object every Bitmap owns: forwards state calls to the
// bitmap's GraphicsContext and keeps a small record of its own (the last
// colours, line width, interpolation, pattern phase and antialias setting).
//
// The recorded colours are not part of the saved graphics state: setting a
// colour equal to the recorded one is skipped, even after a restore brought
// the context's own colour back to something else. Callers that need a
// particular colour after restoring set it again (a different one first if
// need be). The recorded fill colour starts as black, which is also the
// context's own starting fill colour.
class CGContextWrapper {
public:
    explicit CGContextWrapper(GraphicsContext& context);
    ~CGContextWrapper();
    CGContextWrapper(const CGContextWrapper&) = delete;
    CGContextWrapper& operator=(const CGContextWrapper&) = delete;

    GraphicsContext& contextRef() const { return _context; }
    GraphicsContext& graphicsPort() const { return _context; }

    // The context that code drawing "into the current context" uses; null
    // when none is set. A wrapper stops being current when destroyed.
    static CGContextWrapper* currentContext();
    static void setCurrentContext(CGContextWrapper* context);

    void flushGraphics();
    void saveGraphicsState();
    void restoreGraphicsState();
    bool isDrawingToScreen() const { return false; }

    // Interpolation values: 0 default, 1 none, 2 low, 3 high. Any other value
    // is recorded as given and sets the default quality.
    unsigned imageInterpolation() const { return _image_interpolation; }
    void setImageInterpolation(unsigned interpolation);

    Point patternPhase() const { return _pattern_phase; }
    void setPatternPhase(Point phase);

    bool shouldAntialias() const { return _should_antialias; }
    void setShouldAntialias(bool flag);

    const Color& fillColor() const { return _fill_color; }
    // Empty until a stroke colour is first set.
    const std::optional<Color>& strokeColor() const { return _stroke_color; }
    void setFillColor(const Color& color);
    void setStrokeColor(const Color& color);

    float lineWidth() const { return _line_width; }
    void setLineWidth(float width);

private:
    GraphicsContext& _context;
    Color _fill_color = Color::black();
    std::optional<Color> _stroke_color;
    float _line_width = 1;
    unsigned _image_interpolation = 0;
    Point _pattern_phase;
    bool _should_antialias = false;
};
