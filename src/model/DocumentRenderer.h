#pragma once

#include "raster/AffineMatrix.h"
#include "raster/Color.h"
#include "raster/Geometry.h"

#include <QImage>

#include <optional>

class Strokes;

// Paints a stroke list into an image without a display (the list keeps
// statistics of the redraw, nothing else changes): the picture a
// document view of viewSize shows under viewTransform (world to view), or the
// same picture rendered at another pixel size. The result is upright (first
// scan line at the top of the view), Format_RGBA8888_Premultiplied.
class DocumentRenderer {
public:
    DocumentRenderer(Strokes& strokes, Size viewSize, const AffineMatrix& viewTransform);

    // Composes the drawing over the background colour when there is one,
    // otherwise over transparency (transparent) or white. At the view size
    // the view's own transform is used; at any other size the picture is
    // zoomed by width / view width around the world point at the view's
    // centre, so a changed aspect ratio keeps the horizontal scale. A null
    // image when the size is empty or too large for a bitmap.
    QImage imageWithSize(int width, int height, bool transparent,
                         const std::optional<Color>& background) const;

    // The largest picture rendered, in pixels (width × height).
    static constexpr qint64 kMaxPixels = qint64(1) << 25;

private:
    Strokes& _strokes;
    Size _view_size;
    AffineMatrix _view_transform;
};
