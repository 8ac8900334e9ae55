#pragma once

#include "model/Codable.h"
#include "raster/AffineMatrix.h"
#include "raster/Color.h"
#include "raster/Geometry.h"
#include "raster/PathElement.h"

#include <QImage>

#include <memory>
#include <optional>
#include <string>

class AffineTransform;
class BezierPath;
class CGContextWrapper;
class KeyedArchiver;
class KeyedUnarchiver;
class Path;
class PenPoints;
class VimoCanvas;

// One drawn object of a document: the unit that is added, deleted, selected,
// moved, merged, archived and redrawn. Three kinds share the class, told apart
// by which fields are set:
//   - pen-point stroke: recorded pen samples and the outline built from them,
//     painted by filling the outline;
//   - path stroke: a given path, filled with its winding rule or, for a
//     bezier stroke, outlined with a line width;
//   - image stroke: an image mapped onto a four-corner path.
// Strokes are shared and compared by identity (the stroke list, undo and
// selections hold the same object); copies are made by archiving.
//
// Images are kept as QImage::Format_RGBA8888_Premultiplied, the bitmaps' own
// layout; the first scan line is the top of the picture.
class Stroke : public Codable {
public:
    // A filled path stroke. The path is shared, not copied: changing it later
    // changes the stroke (call pathChanged() after such a change). A null path
    // gives a stroke with zero bounds, which is bad().
    static std::shared_ptr<Stroke> initWithBezierPath(std::shared_ptr<BezierPath> path,
                                                      const Color& color, int transferMode,
                                                      float opacity);
    // An outlined path stroke drawn with the path's own line width; its bounds
    // include half that width on each side.
    static std::shared_ptr<Stroke> initWithBezierStroke(std::shared_ptr<BezierPath> path,
                                                        const Color& color, int transferMode,
                                                        float opacity);
    // A stroke filling the outline built from the pen points; nullptr when no
    // outline can be built (no samples) or its bounds are not numbers.
    static std::shared_ptr<Stroke> initWithPenPoints(std::shared_ptr<PenPoints> points,
                                                     const Color& color, int transferMode,
                                                     float opacity);
    // An image placed on a corner path: element 0 is one corner, element 1 the
    // corner along the image's width from it, element 3 the corner along its
    // height (element 2 is not read).
    static std::shared_ptr<Stroke>
    initWithImage(const QImage& image, std::shared_ptr<BezierPath> cornerPath, float opacity);
    // Reads a stroke written by encodeWithCoder. Never fails by itself: a
    // stroke whose geometry came out unusable is caught by bad().
    static std::shared_ptr<Codable> initWithCoder(KeyedUnarchiver& coder);

    ~Stroke() override;
    Stroke(const Stroke&) = delete;
    Stroke& operator=(const Stroke&) = delete;

    // Accessors.
    // The filled or outlined path; a pen stroke's outline is made from its
    // samples when first asked for.
    const std::shared_ptr<BezierPath>& bezierPath() const;
    const std::shared_ptr<PenPoints>& penPoints() const { return _pen_points; }
    // The placed image, or nullptr for the other kinds.
    const QImage* image() const { return _image ? &*_image : nullptr; }
    bool isImageStroke() const { return _image.has_value(); }
    // nullopt for image strokes.
    const std::optional<Color>& color() const { return _color; }
    float opacity() const { return _opacity; }
    int transferMode() const { return _transfer_mode; }
    float lineWidth() const { return _line_width; }
    bool drawAsStroke() const { return _stroke; }
    Rect bounds() const { return _bounds; }
    // The path's winding rule (non-zero without a path).
    WindingRule windingRule() const;
    // The flattened form of the path used to paint into bitmaps; null
    // without a path. Made when first needed: opening a drawing does not
    // pay for strokes that are never painted at their own resolution.
    const Path* cgPath() const;

    // Whether the stroke cannot be used: no path, bounds that are not
    // numbers, or a transfer mode outside 0..7. Image strokes are never bad.
    bool bad() const;

    // Moves the geometry. Pen points change only their stored mapping; the
    // outline is transformed, not rebuilt. The line width is kept: scaling a
    // bezier stroke does not thicken its line.
    void transformUsingAffineTransform(const AffineTransform& t);

    // Merging: appends another stroke's path to this one's, rebuilds the
    // painted form and drops the pen points (the stroke becomes a path
    // stroke). The bounds are deliberately left as they were until the next
    // transform or a save and reload.
    void appendBezierPathKeepingBounds(const BezierPath& other);
    // Rebuilds the painted form and the bounds after the shared path was
    // changed by whoever passed it in.
    void pathChanged();

    // Paints the stroke into the canvas and returns the changed rectangle in
    // bitmap coordinates. Path and pen strokes are painted alone into the
    // stroke bitmap and combined into the draw bitmap with the stroke's
    // transfer mode and opacity; images are drawn straight into the draw
    // bitmap. The preview is updated from the draw bitmap.
    Rect drawInCanvas(VimoCanvas& canvas) const;
    // Paints into a bitmap's context and returns the world rectangle touched.
    Rect drawInContext(CGContextWrapper& context) const;
    // Vector drawing into the current context (CGContextWrapper::
    // currentContext(); nothing without one), used for printing. Transfer mode
    // and opacity of path strokes are ignored, see canVectorDraw().
    void draw() const;
    // Maps the image rectangle (0, 0, w, h) onto the corner path: centred on
    // the midpoint of corners 1 and 3, rotated along the edge from corner 0 to
    // corner 1, scaled to the lengths of the edges from corner 0, and flipped
    // vertically (deliberately, always). Identity for strokes that are not
    // images or whose corner path has fewer than four elements.
    AffineMatrix imageTransform() const;

    // Whether this stroke and the next one may be painted together into the
    // stroke bitmap and combined in one transfer.
    bool canCombineStrokeWith(const Stroke& other) const;
    // Whether draw() reproduces the stroke faithfully.
    bool canVectorDraw() const;

    std::string archiveClassName() const override { return "Stroke"; }
    void encodeWithCoder(KeyedArchiver& coder) const override;

private:
    Stroke();
    // Rebuilds _cg_path from _path and recomputes _bounds.
    void rebuildGeometry();
    void setPathAndPaint(std::shared_ptr<BezierPath> path, const Color& color, int transferMode,
                         float opacity);
    void drawImageInContext(CGContextWrapper& context) const;

    std::optional<Color> _color;
    int _transfer_mode = 0;
    Rect _bounds;
    float _opacity = 1;
    std::optional<QImage> _image;
    bool _stroke = false;
    float _line_width = 1;
    std::shared_ptr<PenPoints> _pen_points;
    mutable std::shared_ptr<BezierPath> _path;
    // A pen stroke whose outline has not been made yet.
    mutable bool _outline_pending = false;
    mutable std::unique_ptr<Path> _cg_path;
};
