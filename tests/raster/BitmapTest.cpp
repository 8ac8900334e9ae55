#include "raster/Bitmap.h"

#include <gtest/gtest.h>

TEST(Bitmap, SizeIsTruncatedButKept) {
    Bitmap bm(Size{10.7f, 5.2f});
    EXPECT_EQ(bm.width(), 10);
    EXPECT_EQ(bm.height(), 5);
    EXPECT_EQ(bm.size(), (Size{10.7f, 5.2f}));
}
