#include "raster/Assert.h"

#include <gtest/gtest.h>

namespace {
void checkSizes(int _width, int _height) {
    struct {
        int _width, _height;
    } other{3, 4}, *bm = &other;
    VIMO_ASSERT(_width == bm->_width && _height == bm->_height);
}
} // namespace

TEST(AssertDeathTest, NamesConditionFunctionAndFile) {
    checkSizes(3, 4);
    EXPECT_DEATH(checkSizes(3, 5), "Assertion failed: \\(_width == bm->_width && _height == "
                                   "bm->_height\\), function .*checkSizes.*, file AssertTest.cpp");
}
