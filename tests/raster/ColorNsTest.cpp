#include "raster/ColorNs.h"

#include <gtest/gtest.h>

#include <cmath>

TEST(ColorNs, FromColorRoundsEachComponentDoesNotPremultiplyAndWraps) {
    EXPECT_EQ(color_ns::from_nscolor(Color::red()), 0xFF0000FFu);
    EXPECT_EQ(color_ns::from_nscolor(Color::device(0, 0, 1, 1)), 0xFFFF0000u);
    EXPECT_EQ(color_ns::from_nscolor(Color::clear()), 0x00000000u);
    // 0.5 * 255 = 127.5, + 0.5 truncates to 128; alpha does not scale colour.
    EXPECT_EQ(color_ns::from_nscolor(Color::calibrated(0.5f, 0.5f, 0.5f, 0.5f)), 0x80808080u);
    // 0.6 * 255 = 153.0000..., 0.4 * 255 = 102, 0.2 * 255 = 51.
    EXPECT_EQ(color_ns::from_nscolor(Color::brown()), 0xFF336699u);
    // Just below the half rounds down.
    EXPECT_EQ(color_ns::from_nscolor(Color::device(1.0f / 255.0f * 0.49f, 0, 0, 0)), 0u);
    // 2 * 255 + 0.5 = 510 -> 0xFE; -0.1 * 255 + 0.5 = -25 -> 0xE7; NaN gives 0.
    EXPECT_EQ(color_ns::from_nscolor(Color::device(2, -0.1f, NAN, 1)), 0xFF00E7FEu);
}
