#include "raster/GraphicsContext.h"
#include "raster/Bitmap.h"

#include <QImage>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

void addRect(GraphicsContext& gc, float x, float y, float w, float h) {
    gc.moveToPoint(x, y);
    gc.addLineToPoint(x + w, y);
    gc.addLineToPoint(x + w, y + h);
    gc.addLineToPoint(x, y + h);
    gc.closePath();
}

} // namespace

TEST(GraphicsContext, FillsThroughTheCurrentTransformWithPremultipliedColour) {
    Bitmap bm(Size{40, 40});
    bm.fill(TRANSPARENT);
    GraphicsContext& gc = bm.graphicsContext();
    gc.setFillColor(Color::device(1, 0.5f, 0, 0.5f));
    // Translate, rotate a quarter turn, scale: user (x, y) -> (30 - 2y, 5 + 2x).
    gc.translateCTM(30, 5);
    gc.rotateCTM(float(std::numbers::pi / 2));
    gc.scaleCTM(2, 2);
    addRect(gc, 1, 2, 5, 3); // -> x 20..26, y 7..17 (y up)
    gc.fillPath();
    EXPECT_TRUE(gc.isPathEmpty());
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 40; ++x)
            ASSERT_EQ(bm.at(x, y), x >= 20 && x < 26 && y >= 7 && y < 17 ? 0x80004080u : 0u)
                << x << "," << y;
    EXPECT_EQ(GraphicsContext::premultiplied(Color::device(2, -1, NAN, 1)), 0xFF0000FFu);
    // Bounds stay in user space.
    addRect(gc, 1, 2, 5, 3);
    EXPECT_EQ(gc.pathBoundingBox(), (Rect{1, 2, 5, 3}));
    // Changing the CTM afterwards maps the stored path back by the new one.
    gc.scaleCTM(0.5f, 0.5f);
    const Rect moved = gc.pathBoundingBox();
    EXPECT_NEAR(moved.x, 2, 1e-4);
    EXPECT_NEAR(moved.y, 4, 1e-4);
    EXPECT_NEAR(moved.width, 10, 1e-4);
    EXPECT_NEAR(moved.height, 6, 1e-4);
}

TEST(GraphicsContext, PathRulesFillsAndStrokesWithWidthJoinAndStrokeColour) {
    Bitmap bm(Size{40, 40});
    GraphicsContext& gc = bm.graphicsContext();
    EXPECT_EQ(gc.pathBoundingBox(), Rect{});
    // Lines and curves without a current point are ignored.
    gc.addLineToPoint(5, 5);
    gc.addCurveToPoint(1, 1, 2, 2, 3, 3);
    EXPECT_TRUE(gc.isPathEmpty());
    // After a close, drawing goes on from the subpath's start: this paints
    // the triangles (0,0)(10,0)(10,10) and (0,0)(0,10)(10,10).
    bm.fill(TRANSPARENT);
    gc.moveToPoint(0, 0);
    gc.addLineToPoint(10, 0);
    gc.addLineToPoint(10, 10);
    gc.closePath();
    gc.addLineToPoint(0, 10);
    gc.addLineToPoint(10, 10);
    gc.fillPath();
    EXPECT_EQ(bm.at(8, 2), BLACK);
    EXPECT_EQ(bm.at(2, 8), BLACK);

    // Strokes take the stroke colour and half the width each side; a miter
    // fills the outer corner, a bevel cuts it off.
    gc.setStrokeColor(Color::device(1, 0, 0));
    gc.setLineWidth(4);
    for (const auto join : {GraphicsContext::LineJoin::Miter, GraphicsContext::LineJoin::Bevel}) {
        bm.fill(TRANSPARENT);
        gc.setLineJoin(join);
        gc.moveToPoint(5, 20);
        gc.addLineToPoint(20, 20);
        gc.addLineToPoint(20, 5);
        gc.strokePath();
        EXPECT_EQ(bm.at(10, 21), RED);
        EXPECT_EQ(bm.at(10, 23), 0u);
        EXPECT_EQ(bm.at(21, 21), join == GraphicsContext::LineJoin::Miter ? RED : 0u);
    }
}

TEST(GraphicsContext, DrawsImagesWithFractionAndFlip) {
    QImage image(2, 2, QImage::Format_RGBA8888_Premultiplied);
    image.fill(Qt::transparent);
    image.setPixelColor(0, 0, Qt::red); // the top row
    image.setPixelColor(0, 1, Qt::blue);
    Bitmap bm(Size{20, 20});
    GraphicsContext& gc = bm.graphicsContext();

    // With a vertical flip in the CTM, as image strokes draw, the first row
    // lands at low y, the top of the y-down view.
    bm.fill(TRANSPARENT);
    gc.setInterpolationQuality(GraphicsContext::InterpolationQuality::None);
    gc.saveGState();
    gc.translateCTM(0, 20);
    gc.scaleCTM(1, -1);
    gc.drawImage(Rect{0, 0, 20, 20}, image);
    gc.restoreGState();
    EXPECT_EQ(bm.at(2, 2), RED);
    EXPECT_EQ(bm.at(2, 17), BLUE);

    bm.fill(TRANSPARENT);
    gc.drawImage(Rect{0, 0, 20, 20}, image, 0.5f);
    EXPECT_NEAR(double(bm.at(2, 2) >> 24), 128, 1);

    bm.fill(TRANSPARENT); // a null image draws nothing
    gc.drawImage(Rect{0, 0, 20, 20}, QImage());
    EXPECT_EQ(bm.at(2, 2), 0u);
}
