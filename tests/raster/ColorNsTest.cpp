#include "raster/ColorNs.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(ColorNs, FromColorRoundsEachComponentDoesNotPremultiplyAndWraps) {
    EXPECT_EQ(color_ns::from_nscolor(Color::red()), 0xFF0000FFu);
    EXPECT_EQ(color_ns::from_nscolor(Color::device(0, 0, 1, 1)), 0xFFFF0000u);
    // 127.5 + 0.5 truncates to 128; alpha does not scale the colour.
    EXPECT_EQ(color_ns::from_nscolor(Color::calibrated(0.5f, 0.5f, 0.5f, 0.5f)), 0x80808080u);
    EXPECT_EQ(color_ns::from_nscolor(Color::brown()), 0xFF336699u);
    // 2 * 255 + 0.5 = 510 -> 0xFE; -0.1 * 255 + 0.5 = -25 -> 0xE7; NaN gives 0.
    EXPECT_EQ(color_ns::from_nscolor(Color::device(2, -0.1f, NAN, 1)), 0xFF00E7FEu);
}
