#include "raster/GraphicsContext.h"

GraphicsContext::GraphicsContext(std::uint32_t* pixels, int width, int height, QImage* image)
    : _pixels(pixels), _width(width), _height(height), _image(image) {}

GraphicsContext::~GraphicsContext() = default;

void GraphicsContext::saveGState() { _saved.push_back(_state); }

void GraphicsContext::restoreGState() {
    if (_saved.empty()) return;
    _state = _saved.back();
    _saved.pop_back();
}
