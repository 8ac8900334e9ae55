#include "raster/Bitmap.h"
#include "raster/GraphicsContext.h"

#include <QImage>
#include <QPainter>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

// Pixel (x, y) holds a word naming it: a misplaced read or write shows.
std::uint32_t tag(int x, int y) {
    return 0xFF000000u | std::uint32_t(y) << 8 | std::uint32_t(x);
}

void fillWithTags(Bitmap& bm) {
    for (int y = 0; y < bm.height(); ++y)
        for (int x = 0; x < bm.width(); ++x) bm.at(x, y) = tag(x, y);
}

} // namespace

TEST(Bitmap, MemoryLayoutIsTopRowFirstAndSharedWithTheImage) {
    Bitmap bm(Size{4.7f, 3.2f}); // truncated, but the size is kept
    EXPECT_EQ(bm.width(), 4);
    EXPECT_EQ(bm.height(), 3);
    fillWithTags(bm);
    // Pixel (0, 0) is the first word of the last stored row.
    EXPECT_EQ(bm.pixels()[2 * 4 + 0], tag(0, 0));
    EXPECT_EQ(bm.pixels()[0], tag(0, 2));
    EXPECT_EQ(bm.pixels()[3], tag(3, 2));
    // The image wraps the same memory: no copy, bytes r, g, b, a.
    const QImage& img = bm.image();
    EXPECT_EQ(img.format(), QImage::Format_RGBA8888_Premultiplied);
    EXPECT_EQ(img.constBits(), reinterpret_cast<const uchar*>(bm.pixels()));
    EXPECT_EQ(img.bytesPerLine(), 16);
    bm.at(1, 2) = 0x80402010u;
    EXPECT_EQ(img.pixelColor(1, 0).alpha(), 0x80);
    EXPECT_EQ(img.constScanLine(0)[4], 0x10);
}

// fillRect covers both far edges and clamps to the bitmap before it tests
// for emptiness, so a rectangle wholly outside paints the nearest edge.
TEST(Bitmap, FillRectIncludesTheFarEdgesAndClampsFirst) {
    const struct {
        Rect r;
        PixelSpan want; // inclusive; empty for none
    } cases[] = {
        {{0, 0, 2, 2}, {0, 2, 0, 2}},
        {{1.5f, 1.5f, 1, 1}, {1, 3, 1, 3}},
        {{5, 4, 0, 0}, {5, 5, 4, 4}}, // a zero-size rectangle covers one pixel
        {{-10, 0, 5, 1}, {0, 0, 0, 1}},
        {{100, 100, 3, 3}, {5, 5, 4, 4}},
        {{2, 2, -1.5f, 0}, {}},
        {{1, 1, 0, -3}, {}},
        {{-1e30f, -1e30f, 2e30f, 2e30f}, {0, 5, 0, 4}},
        {{NAN, NAN, NAN, NAN}, {0, 0, 0, 0}}, // NaN edges count as 0
    };
    for (const auto& c : cases) {
        Bitmap bm(Size{6, 5});
        bm.fill(0);
        bm.fillRect(c.r, RED);
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 6; ++x) {
                const bool inside =
                    x >= c.want.x0 && x <= c.want.x1 && y >= c.want.y0 && y <= c.want.y1;
                ASSERT_EQ(bm.at(x, y), inside ? RED : 0u)
                    << "case " << &c - cases << " at " << x << "," << y;
            }
    }
}

TEST(Bitmap, CopiesFlipYAndColorAtTruncatesAndClamps) {
    Bitmap from(Size{5, 4}), to(Size{5, 4});
    fillWithTags(from);
    to.fill(0);
    from.copyRect(Rect{1, 1, 1, 2}, to);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(to.at(x, y), x >= 1 && x <= 2 && y >= 1 && y <= 3 ? tag(x, y) : 0u)
                << x << "," << y;
    // A new bitmap copied from another keeps the pixels but not the transform.
    from.rotate(0.3f);
    auto copy = Bitmap::initWithCopy(from);
    EXPECT_TRUE(copy->transform().isIdentity());
    EXPECT_EQ(std::memcmp(copy->pixels(), from.pixels(), 5 * 4 * 4), 0);

    for (int h : {1, 4}) {
        Bitmap bm(Size{2, float(h)});
        fillWithTags(bm);
        bm.flipY();
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < 2; ++x) EXPECT_EQ(bm.at(x, y), tag(x, h - 1 - y)) << h;
    }
    EXPECT_EQ(from.colorAt({-0.5f, -3}), tag(0, 0));
    EXPECT_EQ(from.colorAt({2.99f, 1.01f}), tag(2, 1));
    EXPECT_EQ(from.colorAt({NAN, 2}), tag(0, 2));
    EXPECT_EQ(from.colorAt({INFINITY, -INFINITY}), tag(4, 0));
}

TEST(Bitmap, EmptyBitmapsTakeEveryOperationAndHugeOnesAreRefused) {
    for (Size size :
         {Size{0, 0}, Size{5, 0}, Size{0, 5}, Size{-3, 4}, Size{NAN, 2}, Size{0.5f, 9}}) {
        Bitmap bm(size), other(size);
        EXPECT_EQ(bm.width() * bm.height(), 0);
        bm.fill(RED);
        bm.fillRect(Rect{0, 0, 10, 10}, RED);
        bm.copyRect(Rect{0, 0, 10, 10}, other);
        bm.copyAllTo(other);
        bm.flipY();
        EXPECT_EQ(bm.colorAt({0, 0}), TRANSPARENT);
        EXPECT_TRUE(bm.pixelSpan(Rect{0, 0, 1, 1}).empty());
        bm.transferRect(Rect{0, 0, 10, 10}, other, 0, 1.0f);
        bm.transferRect(Rect{0, 0, 10, 10}, other, 7, 0.5f);
        bm.medianCutColors(4);
        auto copy = Bitmap::initWithCopy(bm);
        EXPECT_EQ(copy->width() * copy->height(), 0);
        QImage target(4, 4, QImage::Format_RGBA8888_Premultiplied);
        QPainter painter(&target);
        bm.drawInRect(painter, Rect{0, 0, 4, 4});
        bm.drawScaledInRect(painter, Rect{0, 0, 4, 4});
    }
    EXPECT_THROW(Bitmap(Size{1e6f, 1e6f}), std::bad_alloc);
    EXPECT_THROW(Bitmap(Size{INFINITY, 1}), std::bad_alloc);
}

// Rectangles map to the bounding box of their corners, also under a mirror.
TEST(Bitmap, WorldTransformGoesThroughTheContext) {
    Bitmap bm(Size{100, 100});
    bm.translate({10, 20});
    bm.scale(2);
    EXPECT_EQ(bm.worldPointToBitmapPoint({1, 1}), (Point{12, 22}));
    EXPECT_EQ(bm.bitmapPointToWorldPoint({12, 22}), (Point{1, 1}));
    EXPECT_EQ(bm.transform(), bm.graphicsContext().ctm());
    bm.setTransform(AffineMatrix::identity());
    bm.scale(-1);
    EXPECT_EQ(bm.worldRectToBitmapRect(Rect{1, 2, 3, 4}), (Rect{-4, -6, 3, 4}));
}

// In a y-up painter the bitmap stands upright: drawInRect takes the same
// rectangle from the bitmap, drawScaledInRect shrinks the whole bitmap into it.
TEST(Bitmap, DrawInRectShowsTheBitmapUprightInAYUpPainter) {
    Bitmap bm(Size{4, 2});
    bm.fill(0);
    bm.at(0, 1) = RED; // top-left in bitmap coordinates
    bm.at(3, 0) = BLUE;
    QImage target(4, 2, QImage::Format_RGBA8888_Premultiplied);
    target.fill(Qt::transparent);
    {
        QPainter painter(&target);
        painter.translate(0, 2);
        painter.scale(1, -1);
        bm.drawInRect(painter, Rect{2, 0, 2, 1});
        bm.drawScaledInRect(painter, Rect{0, 0, 2, 2});
    }
    EXPECT_EQ(target.pixelColor(3, 1), QColor(0, 0, 255));
    EXPECT_EQ(target.pixelColor(2, 0).alpha(), 0);
    EXPECT_EQ(target.pixelColor(0, 0).red(), 255);
}
