#pragma once

#include "fill/PixelBlocks.h"

#include <cstddef>
#include <cstdint>

// The rule of the exact fill in place: a word counts as filled when it equals
// the fill colour, and a pixel may join when it equals the seed's old colour
// (which differs from the fill colour). Mask and reference are the same
// pixels.
class ExactMatch {
public:
    ExactMatch(const std::uint32_t* pixels, std::uint32_t oldColor, std::uint32_t color)
        : _pixels(pixels), _old_color(oldColor), _color(color) {}

    bool isFilled(std::uint32_t w) const { return w == _color; }
    std::uint64_t unfilledBits(const std::uint32_t* p, int n) const {
        return ~pixelblocks::equalBits(p, n, _color) & pixelblocks::lowBits(n);
    }
    std::uint64_t acceptedBits(std::size_t index, int n) const {
        return pixelblocks::equalBits(_pixels + index, n, _old_color);
    }
    std::uint32_t color() const { return _color; }

private:
    const std::uint32_t* _pixels;
    std::uint32_t _old_color;
    std::uint32_t _color;
};
