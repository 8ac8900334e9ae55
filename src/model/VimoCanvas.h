#pragma once

#include "raster/AffineMatrix.h"
#include "raster/Bitmap.h"
#include "raster/Geometry.h"

#include <cstdint>
#include <memory>

class RewindBuffer;

// The raster side of a document: the finished picture (draw), the scratch
// layer a stroke is painted into before it is combined (stroke), and what is
// shown (preview: draw plus temporary tool feedback). All three have the same
// size and share one world-to-bitmap transform, set on draw and copied to the
// others. Snapshots of draw are kept in a RewindBuffer so that a redraw can
// start near the first changed stroke.
class VimoCanvas {
public:
    explicit VimoCanvas(Size size);
    ~VimoCanvas();
    VimoCanvas(const VimoCanvas&) = delete;
    VimoCanvas& operator=(const VimoCanvas&) = delete;

    Bitmap& drawBitmap() { return *_draw; }
    Bitmap& strokeBitmap() { return *_stroke; }
    Bitmap& previewBitmap() { return *_preview; }
    const Bitmap& drawBitmap() const { return *_draw; }
    const Bitmap& strokeBitmap() const { return *_stroke; }
    const Bitmap& previewBitmap() const { return *_preview; }
    Size size() const;
    RewindBuffer& rewindBuffer() { return *_rewind_buffer; }
    const RewindBuffer& rewindBuffer() const { return *_rewind_buffer; }

    // The world-to-bitmap transform. Every change is made on the draw bitmap
    // and then copied to the other two.
    AffineMatrix transform() const;
    void setTransform(const AffineMatrix& t);
    void scale(float factor);
    void translate(Point offset);
    void rotate(float radians);
    Rect worldRectToBitmapRect(const Rect& r) const;
    Point bitmapPointToWorldPoint(Point p) const;
    Point worldPointToBitmapPoint(Point p) const;

    // Fills the draw and preview bitmaps (not the stroke bitmap).
    void fill(std::uint32_t color);
    // Takes back a tool's temporary drawing in r (bitmap coordinates): the
    // stroke bitmap becomes transparent there and the preview shows the draw
    // bitmap again.
    void endPreview(const Rect& r);
    // The shown colour at a bitmap point.
    std::uint32_t colorAt(Point p) const;
    // Rotate or zoom so that the world point under bitmap point p moves to
    // the centre of the canvas.
    void rotateAroundPoint(Point p, float angle);
    void zoomToPoint(Point p, float scale);
    // The geometry of the view's commands (bitmap coordinates): fit a
    // rectangle to the canvas without margin; turn about the centre by the
    // angle from p1 to p2 as seen from the centre; pan so that the point
    // under p1 comes under p2.
    void zoomToBitmapRect(const Rect& r);
    void rotateFrom(Point p1, Point p2);
    void moveFrom(Point p1, Point p2);

    // After a stroke was added on top (n is the new count): a snapshot of the
    // draw bitmap when one is due, with thinning.
    void recordRewindBufferStroke(int n);
    // During a redraw of n strokes that has just transferred index i.
    bool wantsToRecordRewindBufferStroke(int i, int n) const;
    void recordRewindBufferStroke(int i, int n);
    void clearRewindBuffer();
    // Puts the draw and preview bitmaps back to the newest snapshot labelled
    // k or lower, drops the newer snapshots and returns that label: the index
    // from which the stroke list must be redrawn.
    int rewindToBeforeStroke(int k);

private:
    void copyTransforms();

    std::unique_ptr<Bitmap> _draw;
    std::unique_ptr<Bitmap> _stroke;
    std::unique_ptr<Bitmap> _preview;
    std::unique_ptr<RewindBuffer> _rewind_buffer;
};
