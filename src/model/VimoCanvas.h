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

    AffineMatrix transform() const;
    void setTransform(const AffineMatrix& t);
    void scale(float factor);
    void translate(Point offset);
    void rotate(float radians);
    Rect worldRectToBitmapRect(const Rect& r) const;
    Point bitmapPointToWorldPoint(Point p) const;
    Point worldPointToBitmapPoint(Point p) const;

    void fill(std::uint32_t color);
    void endPreview(const Rect& r);
    std::uint32_t colorAt(Point p) const;
    void rotateAroundPoint(Point p, float angle);
    void zoomToPoint(Point p, float scale);

    void recordRewindBufferStroke(int n);
    bool wantsToRecordRewindBufferStroke(int i, int n) const;
    void recordRewindBufferStroke(int i, int n);
    void clearRewindBuffer();
    int rewindToBeforeStroke(int k);

private:
    void copyTransforms();

    std::unique_ptr<Bitmap> _draw;
    std::unique_ptr<Bitmap> _stroke;
    std::unique_ptr<Bitmap> _preview;
    std::unique_ptr<RewindBuffer> _rewind_buffer;
};
