#include "raster/ColorNs.h"

#include <climits>

namespace color_ns {

namespace {

std::int32_t channel(std::uint32_t p, int shift) {
    return std::int32_t((p >> shift) & 0xFF);
}

// Truncation toward zero; values that do not fit an int (NaN, huge) give
// INT_MIN, as the processor's truncating conversion does.
std::int32_t truncToInt(double v) {
    if (!(v > double(INT_MIN) - 1.0 && v < double(INT_MAX) + 1.0)) return INT_MIN;
    return static_cast<std::int32_t>(v);
}

std::uint32_t component(float c) {
    return std::uint32_t(truncToInt(double(c * 255.0f) + 0.5)) & 0xFF;
}

} // namespace

std::uint32_t multiply(std::uint32_t p, std::uint32_t q) {
    const std::int32_t pa = channel(p, 24), qa = channel(q, 24);
    if (pa == 0) return q;
    if (qa == 0) return p;
    // lo is raised to hi's coverage; A * A fits easily: all products stay
    // below 510 * 255 * 255.
    const bool pLower = pa <= qa;
    const std::uint32_t lo = pLower ? p : q, hi = pLower ? q : p;
    const std::int32_t a = pLower ? qa : pa;
    const std::int32_t d = pLower ? qa - pa : pa - qa;
    std::uint32_t out = std::uint32_t(a) << 24;
    for (int shift = 0; shift < 24; shift += 8) {
        const std::int32_t c = ((channel(lo, shift) + d) * channel(hi, shift) * a) / (a * a);
        out |= (std::uint32_t(c) & 0xFF) << shift;
    }
    return out;
}

std::uint32_t from_nscolor(const Color& color) {
    const Color device = color.usingSpace(Color::Space::DeviceRGB);
    return component(device.alphaComponent()) << 24 | component(device.blueComponent()) << 16 |
           component(device.greenComponent()) << 8 | component(device.redComponent());
}

} // namespace color_ns
