#include "model/Stroke.h"
#include "model/AffineTransform.h"
#include "model/BezierPath.h"
#include "model/PenPoints.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"
#include "raster/CGContextWrapper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

std::shared_ptr<BezierPath> rectPath(const Rect& r) {
    return std::make_shared<BezierPath>(BezierPath::bezierPathWithRect(r));
}

std::shared_ptr<PenPoints> penTrace(std::initializer_list<Point> points, float radius = 5) {
    auto p = std::make_shared<PenPoints>(AffineMatrix::identity(), radius);
    for (Point pt : points) p->addPointAt(pt, 1);
    return p;
}

// Corners 0, 1, 2, 3 and back to 0, as the document's image placing makes them.
std::shared_ptr<BezierPath> cornerPath(Point p0, Point p1, Point p2, Point p3) {
    auto path = std::make_shared<BezierPath>();
    const Point corners[5] = {p0, p1, p2, p3, p0};
    path->appendBezierPathWithPoints(corners, 5);
    return path;
}

} // namespace

TEST(StrokeBounds, OutlinesKeepTheirLineWidthWhenScaled) {
    auto path = rectPath({10, 10, 20, 20});
    path->setLineWidth(4);
    EXPECT_EQ(Stroke::initWithBezierPath(path, Color::red(), 0, 1)->bounds(),
              (Rect{10, 10, 20, 20})); // a fill: line width plays no part
    auto outlined = Stroke::initWithBezierStroke(path, Color::red(), 0, 1);
    EXPECT_EQ(outlined->bounds(), (Rect{8, 8, 24, 24}));
    AffineTransform twice;
    twice.scaleBy(2);
    outlined->transformUsingAffineTransform(twice);
    EXPECT_EQ(outlined->bounds(), (Rect{18, 18, 44, 44}));
    EXPECT_EQ(outlined->lineWidth(), 4);
}

TEST(StrokePenPoints, OutlineAndRefusals) {
    EXPECT_EQ(Stroke::initWithPenPoints(penTrace({}), Color::black(), 0, 1), nullptr);
    auto damaged = std::make_shared<PenPoints>(AffineMatrix{std::nanf(""), 0, 0, 1, 0, 0}, 5);
    damaged->addPointAt({1, 1}, 1);
    EXPECT_EQ(Stroke::initWithPenPoints(damaged, Color::black(), 0, 1), nullptr);

    auto points = penTrace({{0, 0}, {20, 0}});
    auto stroke = Stroke::initWithPenPoints(points, Color::black(), 3, 0.5f);
    ASSERT_NE(stroke, nullptr);
    EXPECT_EQ(stroke->bounds(), (Rect{-5, -5, 30, 10}));
    EXPECT_EQ(*stroke->bezierPath(), *points->buildPath());
    stroke->transformUsingAffineTransform(AffineTransform(AffineMatrix::makeTranslation(0, 7)));
    EXPECT_EQ(stroke->bounds(), (Rect{-5, 2, 30, 10}));

    // Merged into, the samples no longer describe the outline: the bounds
    // stay until a move takes them from the whole path.
    stroke->appendBezierPathKeepingBounds(BezierPath::bezierPathWithRect({100, 100, 5, 5}));
    EXPECT_EQ(stroke->penPoints(), nullptr);
    EXPECT_EQ(stroke->bounds(), (Rect{-5, 2, 30, 10}));
    stroke->transformUsingAffineTransform(AffineTransform());
    EXPECT_EQ(stroke->bounds().maxX(), 105);
}

TEST(StrokeBad, MissingOrDamagedGeometry) {
    EXPECT_TRUE(Stroke::initWithBezierPath(nullptr, Color::red(), 0, 1)->bad());
    EXPECT_FALSE(Stroke::initWithImage(QImage(2, 2, QImage::Format_ARGB32), nullptr, 1)->bad());
    // A path damaged after the stroke was made is caught by asking it afresh.
    auto later = rectPath({0, 0, 1, 1});
    auto stroke = Stroke::initWithBezierPath(later, Color::red(), 0, 1);
    EXPECT_FALSE(stroke->bad());
    later->lineToPoint({0, std::nanf("")});
    EXPECT_FALSE(stroke->bounds().hasNaN());
    EXPECT_TRUE(stroke->bad());
}

// Batched redrawing checks combining against painting one by one; here,
// what it cannot check: images and colour spaces.
TEST(StrokeRules, CombiningAndVectorDrawing) {
    auto make = [](int mode, float opacity, Color c) {
        return Stroke::initWithBezierPath(rectPath({0, 0, 1, 1}), c, mode, opacity);
    };
    const auto image = Stroke::initWithImage(QImage(1, 1, QImage::Format_ARGB32),
                                             cornerPath({0, 0}, {1, 0}, {1, 1}, {0, 1}), 0.2f);
    EXPECT_TRUE(make(0, 1, Color::red())->canCombineStrokeWith(*make(0, 1, Color::blue())));
    EXPECT_FALSE(
        make(3, 1, Color::red())
            ->canCombineStrokeWith(*make(3, 1, Color::red().usingSpace(Color::Space::DeviceRGB))));
    EXPECT_FALSE(make(0, 1, Color::red())->canCombineStrokeWith(*image));
    EXPECT_FALSE(image->canCombineStrokeWith(*image));

    EXPECT_TRUE(make(0, 1, Color::red())->canVectorDraw());
    EXPECT_FALSE(make(7, 1, Color::red())->canVectorDraw());
    EXPECT_FALSE(make(0, 0.5f, Color::red())->canVectorDraw());
    EXPECT_TRUE(image->canVectorDraw());
}

TEST(StrokeImage, DrawsUprightAlongItsCorners) {
    // Quadrants as the picture is seen (first scan line at the top): red,
    // green / blue, white.
    QImage image(4, 4, QImage::Format_ARGB32);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            image.setPixel(x, y,
                           y < 2 ? (x < 2 ? 0xFFFF0000 : 0xFF00FF00)
                                 : (x < 2 ? 0xFF0000FF : 0xFFFFFFFF));
    auto stroke = Stroke::initWithImage(image, cornerPath({0, 0}, {8, 0}, {8, 8}, {0, 8}), 1);
    Bitmap bm(Size{8, 8});
    bm.fill(TRANSPARENT);
    EXPECT_EQ(stroke->drawInContext(bm.cgContext()), (Rect{0, 0, 8, 8}));
    // The view shows y growing downward: the picture's top lies at low y,
    // along the edge from corner 0 to corner 1.
    EXPECT_EQ(bm.at(0, 0), RED);
    EXPECT_EQ(bm.at(7, 0), GREEN);
    EXPECT_EQ(bm.at(0, 7), BLUE);
    EXPECT_EQ(bm.at(7, 7), WHITE);
    EXPECT_EQ(bm.at(2, 2), RED); // a 2x2 source block covers 4x4 pixels

    // Edge 0 -> 1 pointing up: a quarter turn.
    auto turned = Stroke::initWithImage(image, cornerPath({0, 0}, {0, 10}, {-5, 10}, {-5, 0}), 1);
    const Point corner = turned->imageTransform().apply({4, 4});
    EXPECT_NEAR(corner.x, 0, 1e-4);
    EXPECT_NEAR(corner.y, 10, 1e-4);
    // Too few corners to place the image: nothing is drawn.
    auto broken = Stroke::initWithImage(image, rectPath({0, 0, 0, 0}), 1);
    broken->bezierPath()->removeAllPoints();
    broken->pathChanged();
    EXPECT_EQ(broken->drawInContext(bm.cgContext()), Rect{});
}

TEST(StrokePainting, CanvasGetsTheStrokeOnceWithItsOpacityAndAClearedScratchLayer) {
    VimoCanvas canvas(Size{32, 32});
    // Two overlapping squares in one path: the overlap must not build up.
    auto path = rectPath({4, 4, 12, 12});
    path->appendBezierPath(BezierPath::bezierPathWithRect({10, 10, 12, 12}));
    auto stroke = Stroke::initWithBezierPath(path, Color::red(), 0, 0.5f);
    EXPECT_TRUE(containsRect(stroke->drawInCanvas(canvas), {4, 4, 18, 18}));
    const Bitmap& drawn = canvas.drawBitmap();
    const std::uint32_t single = drawn.at(6, 6);
    EXPECT_NEAR(double(single >> 24), 128, 2);
    EXPECT_EQ(drawn.at(12, 12), single);
    EXPECT_EQ(drawn.at(20, 20), single);
    EXPECT_EQ(drawn.at(25, 5), TRANSPARENT);
    // Images go straight into the picture.
    QImage picture(2, 2, QImage::Format_ARGB32);
    picture.fill(0xFF00FF00);
    Stroke::initWithImage(picture, cornerPath({24, 24}, {28, 24}, {28, 28}, {24, 28}), 1)
        ->drawInCanvas(canvas);
    EXPECT_EQ(drawn.at(26, 26), GREEN);
    const std::size_t bytes = 32 * 32 * 4;
    EXPECT_EQ(std::memcmp(canvas.previewBitmap().pixels(), drawn.pixels(), bytes), 0);
    const std::uint32_t* scratch = canvas.strokeBitmap().pixels();
    EXPECT_TRUE(std::all_of(scratch, scratch + 32 * 32, [](auto p) { return p == TRANSPARENT; }));
}

// Printing draws strokes into whatever context is current, mode and
// opacity aside.
TEST(StrokePainting, DrawPaintsIntoTheCurrentContextOnly) {
    auto stroke = Stroke::initWithBezierPath(rectPath({1, 1, 4, 4}), Color::blue(), 7, 0.5f);
    Bitmap bm(Size{8, 8});
    bm.fill(TRANSPARENT);
    CGContextWrapper::setCurrentContext(nullptr);
    stroke->draw();
    EXPECT_EQ(bm.at(2, 2), TRANSPARENT);
    CGContextWrapper::setCurrentContext(&bm.cgContext());
    stroke->draw();
    CGContextWrapper::setCurrentContext(nullptr);
    EXPECT_EQ(bm.at(2, 2), BLUE);
    EXPECT_EQ(bm.at(6, 6), TRANSPARENT);
}
