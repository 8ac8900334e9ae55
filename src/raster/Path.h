#pragma once

#include "raster/AffineMatrix.h"
#include "raster/Geometry.h"
#include "raster/PathElement.h"

#include <QPainterPath>

#include <span>
#include <vector>

class CGContextWrapper;
class GraphicsContext;

// An immutable flat copy of a bezier path's elements that draws itself
// straight into a graphics context. Results are in the context's user space.
class Path {
public:
    // Elements per batch of a non-zero winding fill.
    static constexpr int kBatchSize = 100;

    Path() = default;
    explicit Path(std::span<const PathElement> elements);

    std::span<const PathElement> elements() const { return _elements; }
    int elementCount() const { return static_cast<int>(_elements.size()); }

    // Fills with the context's fill colour and returns the bounds of what was
    // filled (control points included); the zero rectangle for an empty path.
    // rule 0 (non-zero winding) fills in batches of whole closed subpaths of
    // about kBatchSize elements, each filled on its own: subpaths in different
    // batches never cancel each other. Any other rule fills the whole path
    // even-odd.
    Rect fillInContext(CGContextWrapper& context, unsigned rule) const;
    // Strokes with bevel joins, the context's line width and stroke colour;
    // returns the path's bounds grown on every side by a full line width.
    Rect strokeInContext(CGContextWrapper& context) const;
    // Loads the path as the context's current path (left there) and returns
    // its bounding box, drawing nothing.
    Rect boundsInContext(CGContextWrapper& context) const;

    // The elements as a Qt path for feedback drawn straight onto the screen,
    // each point mapped by m, filling under the given rule.
    static QPainterPath painterPath(std::span<const PathElement> elements, const AffineMatrix& m,
                                    WindingRule rule = NonZeroWindingRule);

    // Internal: begins a new path in the context and adds every element.
    void loadPathInContext(GraphicsContext& context) const;
    // Internal: begins a new path and adds elements from start on, stopping
    // after the first close-path at or after start + count; returns the
    // index the next batch starts at (the element count at the end).
    int loadPathStartingAt(int start, int count, GraphicsContext& context) const;

private:
    static void addElement(const PathElement& e, GraphicsContext& context);

    std::vector<PathElement> _elements;
};
