#include "raster/Bitmap.h"

#include "raster/CGContextWrapper.h"
#include "raster/GraphicsContext.h"

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
        std::memcpy(&to.at(s.x0, y), _pixels + std::size_t(_height - 1 - y) * std::size_t(_width) + std::size_t(s.x0), n * 4);
}
