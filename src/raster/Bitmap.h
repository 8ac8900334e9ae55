#pragma once

#include "raster/AffineMatrix.h"
#include "raster/Geometry.h"

#include <QImage>

#include <cstdint>
#include <memory>
#include <vector>

class CGContextWrapper;
class GraphicsContext;
class QPainter;

// Packed colours: a<<24 | b<<16 | g<<8 | r, bytes in memory r, g, b, a.
// Inside bitmaps the colour channels are premultiplied by alpha.
constexpr std::uint32_t WHITE = 0xFFFFFFFFu;
constexpr std::uint32_t RED = 0xFF0000FFu;
constexpr std::uint32_t GREEN = 0xFF00FF00u;
constexpr std::uint32_t BLUE = 0xFFFF0000u;
constexpr std::uint32_t BLACK = 0xFF000000u;
constexpr std::uint32_t TRANSPARENT = 0u;

// The pixels of a rectangle, both ends inclusive, already clamped to the
// bitmap. Rows are visited from y0 up to y1, columns from x0 to x1.
struct PixelSpan {
    int x0 = 0, x1 = -1, y0 = 0, y1 = -1;
    bool empty() const { return y0 > y1 || x0 > x1; }
};

// The program's one raster: 32-bit premultiplied RGBA words, top row first,
// no row padding, with a world-to-bitmap transform. Bitmap coordinates have
// their origin at the bottom left, y up: pixel (x, y) is the word at index
// (height - 1 - y) * width + x. The same memory is drawn into by the vector
// rasteriser (through cgContext()) and read and written by the integer pixel
// code, so there is never a conversion copy between the two.
class Bitmap {
public:
    // width and height are the size truncated toward zero; a negative or NaN
    // size gives an empty bitmap. The pixels are not cleared: owners fill
    // them. Sizes beyond maxPixels() throw std::bad_alloc.
    explicit Bitmap(Size size);
    ~Bitmap();
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;

    // A new bitmap with a copy of other's pixels and the identity transform
    // (not other's transform).
    static std::unique_ptr<Bitmap> initWithCopy(const Bitmap& other);

    static constexpr std::int64_t maxPixels() { return std::int64_t(1) << 28; }

    Size size() const { return _size; }
    int width() const { return _width; }
    int height() const { return _height; }
    std::uint32_t* pixels() { return _pixels; }
    const std::uint32_t* pixels() const { return _pixels; }
    // The word of pixel (x, y); no bounds check.
    std::uint32_t& at(int x, int y) { return _pixels[wordIndex(x, y)]; }
    std::uint32_t at(int x, int y) const { return _pixels[wordIndex(x, y)]; }

    // A QImage (Format_RGBA8888_Premultiplied) over the bitmap's own memory.
    const QImage& image() const { return _image; }
    // The drawing context over this bitmap; its user space is the world.
    CGContextWrapper& cgContext() { return *_context; }
    GraphicsContext& graphicsContext() { return *_cg_context; }

    // Pixel operations: bitmap coordinates, packed colours, no transform.
    PixelSpan pixelSpan(const Rect& r) const;
    void fill(std::uint32_t color);
    void fillRect(const Rect& r, std::uint32_t color);
    void copyRect(const Rect& r, Bitmap& to) const;
    void copyAllTo(Bitmap& to) const;
    void flipY();
    std::uint32_t colorAt(Point p) const;
    // Composes the rectangle of this bitmap onto the destination with a
    // transfer mode (0..7) and an opacity; other modes do nothing. The two
    // bitmaps must have the same width and height (asserted).
    void transferRect(const Rect& r, Bitmap& to, int mode, float opacity) const;
    // Runs the median-cut quantizer over all pixels for count colours and
    // discards the palette; the pixels are not changed.
    void medianCutColors(int count);

    // Drawing the bitmap into a painter whose coordinates are y up, source
    // over at full opacity: drawInRect takes the same rectangle r from the
    // bitmap (bitmap coordinates), drawScaledInRect the whole bitmap.
    void drawInRect(QPainter& painter, const Rect& r) const;
    void drawScaledInRect(QPainter& painter, const Rect& r) const;

    // World transform.
    void scale(float s);
    void translate(Point d);
    void rotate(float radians);
    AffineMatrix transform() const;
    void setTransform(const AffineMatrix& t);
    Point worldPointToBitmapPoint(Point p) const;
    Point bitmapPointToWorldPoint(Point p) const;
    Rect worldRectToBitmapRect(const Rect& r) const;

private:
    std::size_t wordIndex(int x, int y) const {
        return std::size_t(_height - 1 - y) * std::size_t(_width) + std::size_t(x);
    }

    std::unique_ptr<GraphicsContext> _cg_context;
    std::unique_ptr<CGContextWrapper> _context;
    Size _size;
    int _height = 0;
    int _width = 0;
    std::uint32_t* _pixels = nullptr; // 64-byte aligned, owned
    QImage _image;
};
