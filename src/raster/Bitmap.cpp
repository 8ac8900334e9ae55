#include "raster/Bitmap.h"

#include "raster/Assert.h"
#include "raster/CGContextWrapper.h"
#include "raster/ColorSet.h"
#include "raster/GraphicsContext.h"
#include "raster/TransferModes.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {
int truncatedDimension(float v) {
    if (!(v > 0)) return 0;
    if (v >= 2147483647.0f) throw std::bad_alloc();
    return static_cast<int>(v);
}
} // namespace

Bitmap::Bitmap(Size size) : _size(size) {
    _width = truncatedDimension(size.width);
    _height = truncatedDimension(size.height);
    const std::int64_t count = std::int64_t(_width) * _height;
    if (count > maxPixels()) throw std::bad_alloc();
    const std::size_t bytes = std::size_t(count) * 4;
    // 64-byte alignment lets the pixel loops use aligned vector loads.
    _pixels = static_cast<std::uint32_t*>(std::aligned_alloc(64, ((bytes + 63) / 64) * 64 + 64));
    if (!_pixels) throw std::bad_alloc();
    _image = QImage(reinterpret_cast<uchar*>(_pixels), _width, _height, _width * 4,
                    QImage::Format_RGBA8888_Premultiplied);
    _cg_context = std::make_unique<GraphicsContext>(_pixels, _width, _height, &_image);
    _context = std::make_unique<CGContextWrapper>(*_cg_context);
}

Bitmap::~Bitmap() {
    _context.reset();
    _cg_context.reset();
    _image = QImage();
    std::free(_pixels);
}

std::unique_ptr<Bitmap> Bitmap::initWithCopy(const Bitmap& other) {
    auto copy = std::make_unique<Bitmap>(other.size());
    other.copyAllTo(*copy);
    return copy;
}

void Bitmap::copyAllTo(Bitmap& to) const {
    copyRect(Rect{0, 0, _size.width, _size.height}, to);
}

PixelSpan Bitmap::pixelSpan(const Rect& r) const {
    // Near edges floor, far edges ceil (both inclusive), each clamped to the
    // bitmap before the emptiness test, so a rectangle wholly outside still
    // touches the nearest edge column and row.
    auto clampTo = [](float v, int limit) {
        if (!(v > 0)) return 0; // negatives and NaN
        if (v > float(limit)) return limit;
        return static_cast<int>(v);
    };
    PixelSpan s;
    s.x0 = clampTo(std::floor(r.x), _width - 1);
    s.x1 = clampTo(std::ceil(r.x + r.width), _width - 1);
    s.y0 = clampTo(std::floor(r.y), _height - 1);
    s.y1 = clampTo(std::ceil(r.y + r.height), _height - 1);
    if (_width == 0 || _height == 0) s.y1 = s.y0 - 1;
    return s;
}

void Bitmap::copyRect(const Rect& r, Bitmap& to) const {
    const PixelSpan s = pixelSpan(r);
    if (s.empty()) return;
    const std::size_t n = std::size_t(s.x1 - s.x0 + 1);
    for (int y = s.y0; y <= s.y1; ++y)
        std::memcpy(&to.at(s.x0, y), _pixels + wordIndex(s.x0, y), n * 4);
}

void Bitmap::fill(std::uint32_t color) {
    const std::size_t n = std::size_t(_width) * std::size_t(_height);
    for (std::size_t i = 0; i < n; ++i) _pixels[i] = color;
}

void Bitmap::fillRect(const Rect& r, std::uint32_t color) {
    const PixelSpan s = pixelSpan(r);
    if (s.empty()) return;
    for (int y = s.y0; y <= s.y1; ++y) {
        std::uint32_t* row = &at(0, y);
        for (int x = s.x0; x <= s.x1; ++x) row[x] = color;
    }
}

void Bitmap::flipY() {
    const std::size_t w = std::size_t(_width);
    for (int i = 0; i < _height / 2; ++i) {
        std::uint32_t* a = _pixels + std::size_t(i) * w;
        std::uint32_t* b = _pixels + std::size_t(_height - 1 - i) * w;
        for (std::size_t x = 0; x < w; ++x) {
            const std::uint32_t t = a[x];
            a[x] = b[x];
            b[x] = t;
        }
    }
}

std::uint32_t Bitmap::colorAt(Point p) const {
    if (_width == 0 || _height == 0) return TRANSPARENT;
    // Truncation toward zero, then clamping; NaN counts as 0.
    auto clampTo = [](float v, int limit) {
        if (!(v > 0)) return 0;
        if (v >= float(limit)) return limit;
        return static_cast<int>(v);
    };
    return at(clampTo(p.x, _width - 1), clampTo(p.y, _height - 1));
}

void Bitmap::drawInRect(QPainter& painter, const Rect& r) const {
    // The painter's y axis points up, the image's rows run downward: flip
    // about the target rectangle and take the same rectangle from the image.
    painter.save();
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1.0);
    painter.translate(double(r.x), double(r.y) + double(r.height));
    painter.scale(1.0, -1.0);
    const QRectF source(double(r.x), double(_height) - double(r.y) - double(r.height),
                        double(r.width), double(r.height));
    painter.drawImage(QRectF(0, 0, double(r.width), double(r.height)), _image, source);
    painter.restore();
}

void Bitmap::drawScaledInRect(QPainter& painter, const Rect& r) const {
    painter.save();
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setOpacity(1.0);
    painter.translate(double(r.x), double(r.y) + double(r.height));
    painter.scale(1.0, -1.0);
    painter.drawImage(QRectF(0, 0, double(r.width), double(r.height)), _image,
                      QRectF(0, 0, double(_width), double(_height)));
    painter.restore();
}

void Bitmap::scale(float s) {
    _cg_context->scaleCTM(s, s);
}

void Bitmap::translate(Point d) {
    _cg_context->translateCTM(d.x, d.y);
}

void Bitmap::rotate(float radians) {
    _cg_context->rotateCTM(radians);
}

AffineMatrix Bitmap::transform() const {
    return _cg_context->ctm();
}

void Bitmap::setTransform(const AffineMatrix& t) {
    // Undo the current matrix, then apply the new one: the result equals t up
    // to rounding, as any other sequence of context calls would leave it.
    _cg_context->concatCTM(_cg_context->ctm().inverted());
    _cg_context->concatCTM(t);
}

Point Bitmap::worldPointToBitmapPoint(Point p) const {
    return _cg_context->ctm().apply(p);
}

Point Bitmap::bitmapPointToWorldPoint(Point p) const {
    return _cg_context->ctm().inverted().apply(p);
}

Rect Bitmap::worldRectToBitmapRect(const Rect& r) const {
    // Each corner is a single-precision point mapped in double precision and
    // stored back as float, like any other point; the result is their
    // axis-aligned bounding box.
    const AffineMatrix m = _cg_context->ctm();
    const Point corners[4] = {m.apply({r.x, r.y}), m.apply({r.x, r.y + r.height}),
                              m.apply({r.x + r.width, r.y}),
                              m.apply({r.x + r.width, r.y + r.height})};
    float minX = corners[0].x, maxX = corners[0].x, minY = corners[0].y, maxY = corners[0].y;
    for (const Point& p : corners) {
        minX = std::min(minX, p.x);
        maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y);
        maxY = std::max(maxY, p.y);
    }
    return {minX, minY, maxX - minX, maxY - minY};
}

void Bitmap::transferRect(const Rect& r, Bitmap& destination, int mode, float opacity) const {
    if (mode < 0 || mode >= transfer_modes::kModeCount) return;
    const Bitmap* bm = &destination;
    VIMO_ASSERT(_width == bm->_width && _height == bm->_height);
    const PixelSpan s = pixelSpan(r);
    if (s.empty()) return;

    // Opacity 1 exactly takes the source as stored; any other value scales
    // it by op / 255 first. op = 255 scales nothing, so it takes the plain
    // loop too. Factors outside 0..255 (opacities outside 0..1, the caller's
    // error) are applied to a copy of each row with plain integer arithmetic.
    bool scaled = opacity != 1.0f;
    const int op = scaled ? transfer_modes::opacityFactor(opacity) : 255;
    if (op == 255) scaled = false;
    const bool unusualFactor = scaled && (op < 0 || op > 255);
    const transfer_modes::RowFunction row =
        transfer_modes::activeVariant().rows[mode][scaled && !unusualFactor ? 1 : 0];

    const std::size_t rowLength = std::size_t(s.x1 - s.x0 + 1);
    const std::uint32_t* src = _pixels + wordIndex(s.x0, s.y0);
    std::uint32_t* dst = &destination.at(s.x0, s.y0);
    const std::ptrdiff_t stride = -std::ptrdiff_t(_width); // one row up
    if (unusualFactor) {
        std::vector<std::uint32_t> scaledRow(rowLength);
        for (int y = s.y0; y <= s.y1; ++y, src += stride, dst += stride) {
            std::memcpy(scaledRow.data(), src, rowLength * 4);
            transfer_modes::scaleWords(scaledRow.data(), rowLength, op);
            row(scaledRow.data(), dst, rowLength, 0);
        }
    } else if (s.x0 == 0 && s.x1 == _width - 1) {
        // Whole rows lie back to back: one run from the top row of the span.
        const std::size_t rows = std::size_t(s.y1 - s.y0 + 1);
        row(_pixels + wordIndex(0, s.y1), &destination.at(0, s.y1), rowLength * rows,
            std::uint32_t(op));
    } else {
        for (int y = s.y0; y <= s.y1; ++y, src += stride, dst += stride)
            row(src, dst, rowLength, std::uint32_t(op));
    }
}

void Bitmap::medianCutColors(int count) {
    std::vector<std::uint32_t> palette;
    median_cut(_pixels, std::uint32_t(std::size_t(_width) * std::size_t(_height)), count, palette);
}
