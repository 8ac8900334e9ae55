#pragma once

#include "fill/PixelBlocks.h"

#include <cstddef>
#include <cstdint>

// The rule of the tolerant fill: a mask word counts as filled when its alpha
// byte is non-zero, and a pixel may join the fill when the reference pixel at
// the same place lies within the tolerance of the seed colour in each of its
// four premultiplied channels. The reference has the mask's size, so one word
// index serves both.
class TolerantMatch {
public:
    TolerantMatch(const std::uint32_t* reference, std::uint32_t seedColor, int maxDistance,
                  std::uint32_t color)
        : _reference(reference), _seed_color(seedColor), _max_distance(maxDistance), _color(color) {
    }

    // The largest channel distance d that passes "not (d / 255 > tolerance)"
    // in single precision; -1 when even an exact match fails (a negative
    // tolerance), 255 for a tolerance of 1 or more, or NaN.
    static int maxDistanceFor(float tolerance) {
        int d = -1;
        while (d < 255 && !(static_cast<float>(d + 1) / 255.0f > tolerance)) ++d;
        return d;
    }

    static bool isFilled(std::uint32_t w) { return w > 0x00FFFFFFu; }
    std::uint64_t unfilledBits(const std::uint32_t* p, int n) const {
        return pixelblocks::alphaZeroBits(p, n);
    }
    std::uint64_t acceptedBits(std::size_t index, int n) const {
        return pixelblocks::withinBits(_reference + index, n, _seed_color, _max_distance);
    }
    std::uint32_t color() const { return _color; }

private:
    const std::uint32_t* _reference;
    std::uint32_t _seed_color;
    int _max_distance;
    std::uint32_t _color;
};
