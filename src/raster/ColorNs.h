#pragma once

#include "raster/Color.h"

#include <cstdint>

// Helpers for packed colours (a<<24 | b<<16 | g<<8 | r).
namespace color_ns {

// Multiplies two premultiplied colours. The one of lower coverage is first
// raised to the higher coverage by filling the missing coverage with white;
// then the channels are multiplied and renormalised by the common alpha,
// which is the result's alpha. A colour of alpha 0 leaves the other as it is.
// Symmetric in its arguments.
std::uint32_t multiply(std::uint32_t p, std::uint32_t q);

// The packed form of a colour's device RGB components, each
// trunc(component * 255 + 0.5) masked to 8 bits. Not premultiplied.
std::uint32_t from_nscolor(const Color& color);

} // namespace color_ns
