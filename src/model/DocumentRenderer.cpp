#include "model/DocumentRenderer.h"

#include "model/Strokes.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"
#include "raster/ColorNs.h"

DocumentRenderer::DocumentRenderer(Strokes& strokes, Size viewSize,
                                   const AffineMatrix& viewTransform)
    : _strokes(strokes), _view_size(viewSize), _view_transform(viewTransform) {}

QImage DocumentRenderer::imageWithSize(int width, int height, bool transparent,
                                       const std::optional<Color>& background) const {
    if (width <= 0 || height <= 0 || qint64(width) * qint64(height) > kMaxPixels) return {};
    const Size size{float(width), float(height)};

    Bitmap out(size);
    if (background)
        out.fill(color_ns::from_nscolor(*background));
    else
        out.fill(transparent ? TRANSPARENT : WHITE);

    VimoCanvas canvas(size);
    canvas.setTransform(_view_transform);
    const bool viewSized = float(width) == _view_size.width && float(height) == _view_size.height;
    if (!viewSized && _view_size.width > 0 && _view_size.height > 0) {
        // The world point at the view's centre goes to the new canvas's centre.
        const Point centre =
            canvas.bitmapPointToWorldPoint({_view_size.width / 2, _view_size.height / 2});
        canvas.zoomToPoint(canvas.worldPointToBitmapPoint(centre), float(width) / _view_size.width);
    }
    canvas.fill(TRANSPARENT);
    canvas.strokeBitmap().fill(TRANSPARENT);
    _strokes.drawInCanvas(canvas);

    const Rect all{0, 0, size.width, size.height};
    canvas.previewBitmap().transferRect(all, out, 0, 1.0f);
    // Bitmap rows run bottom-up in view terms; mirror them for an upright image.
    out.flipY();
    return out.image().copy();
}
