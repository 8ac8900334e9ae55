#include "model/Stroke.h"
#include "model/AffineTransform.h"
#include "model/BezierPath.h"
#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"
#include "model/PenPoints.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"
#include "raster/CGContextWrapper.h"

#include <gtest/gtest.h>

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

// A corner path as the document's image placing makes it: corners 0, 1, 2, 3
// and back to 0.
std::shared_ptr<BezierPath> cornerPath(Point p0, Point p1, Point p2, Point p3) {
    auto path = std::make_shared<BezierPath>();
    const Point corners[5] = {p0, p1, p2, p3, p0};
    path->appendBezierPathWithPoints(corners, 5);
    return path;
}

} // namespace

TEST(StrokeBounds, FilledOutlinedAndMissingPaths) {
    auto path = rectPath({10, 10, 20, 20});
    path->setLineWidth(4);
    auto filled = Stroke::initWithBezierPath(path, Color::red(), 0, 1);
    EXPECT_EQ(filled->bounds(), (Rect{10, 10, 20, 20})); // line width plays no part

    auto outlined = Stroke::initWithBezierStroke(path, Color::red(), 0, 1);
    EXPECT_EQ(outlined->bounds(), (Rect{8, 8, 24, 24}));
    EXPECT_EQ(outlined->lineWidth(), 4);

    // Scaling moves the path but keeps the line as thick as it was.
    AffineTransform twice;
    twice.scaleBy(2);
    outlined->transformUsingAffineTransform(twice);
    EXPECT_EQ(outlined->bezierPath()->bounds(), (Rect{20, 20, 40, 40}));
    EXPECT_EQ(outlined->bounds(), (Rect{18, 18, 44, 44}));
    EXPECT_EQ(outlined->lineWidth(), 4);

    auto none = Stroke::initWithBezierPath(nullptr, Color::red(), 0, 1);
    EXPECT_EQ(none->bounds(), Rect{});
    EXPECT_TRUE(none->bad());
}

TEST(StrokePenPoints, OutlineAndRefusals) {
    EXPECT_EQ(Stroke::initWithPenPoints(penTrace({}), Color::black(), 0, 1), nullptr);
    EXPECT_EQ(Stroke::initWithPenPoints(nullptr, Color::black(), 0, 1), nullptr);
    auto damaged = std::make_shared<PenPoints>(AffineMatrix{std::nanf(""), 0, 0, 1, 0, 0}, 5);
    damaged->addPointAt({1, 1}, 1);
    EXPECT_EQ(Stroke::initWithPenPoints(damaged, Color::black(), 0, 1), nullptr);

    auto points = penTrace({{0, 0}, {20, 0}});
    auto stroke = Stroke::initWithPenPoints(points, Color::black(), 3, 0.5f);
    ASSERT_NE(stroke, nullptr);
    EXPECT_EQ(stroke->bounds(), (Rect{-5, -5, 30, 10}));
    EXPECT_EQ(*stroke->bezierPath(), *points->buildPath());

    AffineTransform move(AffineMatrix::makeTranslation(0, 7));
    stroke->transformUsingAffineTransform(move);
    EXPECT_EQ(stroke->bounds(), (Rect{-5, 2, 30, 10}));

    // Merged into, the samples no longer describe the outline: the bounds
    // stay until a move takes them from the whole path.
    stroke->appendBezierPathKeepingBounds(BezierPath::bezierPathWithRect({100, 100, 5, 5}));
    EXPECT_EQ(stroke->penPoints(), nullptr);
    EXPECT_EQ(stroke->bounds(), (Rect{-5, 2, 30, 10}));
    stroke->transformUsingAffineTransform(AffineTransform());
    EXPECT_EQ(stroke->bounds().maxX(), 105);
}

TEST(StrokeBad, ImagesNeverAndDamagedGeometryAlways) {
    EXPECT_FALSE(Stroke::initWithImage(QImage(2, 2, QImage::Format_ARGB32), nullptr, 1)->bad());
    EXPECT_FALSE(Stroke::initWithBezierPath(rectPath({0, 0, 1, 1}), Color::red(), 7, 1)->bad());

    auto nanPath = rectPath({0, 0, 1, 1});
    nanPath->lineToPoint({std::nanf(""), 0});
    EXPECT_TRUE(Stroke::initWithBezierPath(nanPath, Color::red(), 0, 1)->bad());

    // A path damaged after the stroke was made is caught by asking it afresh.
    auto later = rectPath({0, 0, 1, 1});
    auto stroke = Stroke::initWithBezierPath(later, Color::red(), 0, 1);
    later->lineToPoint({0, std::nanf("")});
    EXPECT_FALSE(stroke->bounds().hasNaN());
    EXPECT_TRUE(stroke->bad());
}

TEST(StrokeRules, CombiningAndVectorDrawing) {
    auto make = [](int mode, float opacity, Color c) {
        return Stroke::initWithBezierPath(rectPath({0, 0, 1, 1}), c, mode, opacity);
    };
    const auto image = Stroke::initWithImage(QImage(1, 1, QImage::Format_ARGB32),
                                             cornerPath({0, 0}, {1, 0}, {1, 1}, {0, 1}), 0.2f);
    const std::tuple<std::shared_ptr<Stroke>, std::shared_ptr<Stroke>, bool> cases[] = {
        {make(0, 1, Color::red()), make(0, 1, Color::blue()), true},
        {make(1, 1, Color::red()), make(1, 1, Color::blue()), true},
        {make(2, 1, Color::red()), make(2, 1, Color::blue()), false},
        {make(2, 1, Color::red()), make(2, 1, Color::red()), true},
        {make(3, 1, Color::red()), make(3, 1, Color::red().usingSpace(Color::Space::DeviceRGB)),
         false},
        {make(7, 1, Color::red()), make(7, 1, Color::green()), true},
        {make(0, 1, Color::red()), make(1, 1, Color::red()), false},
        {make(0, 0.99f, Color::red()), make(0, 1, Color::red()), false},
        {make(0, 1, Color::red()), make(0, 0.99f, Color::red()), false},
        {make(0, 1, Color::red()), image, false},
        {image, image, false},
    };
    for (const auto& [a, b, combine] : cases)
        EXPECT_EQ(a->canCombineStrokeWith(*b), combine) << a->transferMode() << b->transferMode();

    EXPECT_TRUE(make(0, 1, Color::red())->canVectorDraw());
    EXPECT_FALSE(make(7, 1, Color::red())->canVectorDraw());
    EXPECT_FALSE(make(0, 0.5f, Color::red())->canVectorDraw());
    EXPECT_TRUE(image->canVectorDraw());
}

TEST(StrokeImage, DrawsUprightAlongItsCorners) {
    // Quadrants: red top left, green top right, blue bottom left, white
    // bottom right (as the picture is seen, first scan line at the top).
    QImage image(4, 4, QImage::Format_ARGB32);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            image.setPixel(x, y,
                           y < 2 ? (x < 2 ? 0xFFFF0000 : 0xFF00FF00)
                                 : (x < 2 ? 0xFF0000FF : 0xFFFFFFFF));
    auto stroke = Stroke::initWithImage(image, cornerPath({0, 0}, {8, 0}, {8, 8}, {0, 8}), 1);
    Bitmap bm(Size{8, 8});
    std::memset(bm.pixels(), 0, 8 * 8 * 4);
    const Rect touched = stroke->drawInContext(bm.cgContext());
    EXPECT_EQ(touched, (Rect{0, 0, 8, 8}));
    // The view shows the canvas with y growing downward: the picture's top
    // lies at low y, along the edge from corner 0 to corner 1.
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
    EXPECT_TRUE(broken->imageTransform().isIdentity());
    EXPECT_EQ(broken->drawInContext(bm.cgContext()), Rect{});
}

// The sample-file test reads every kind of stroke back; here, what each
// kind leaves out: a line width but for outlines, the path of pen strokes
// (their outline is rebuilt from the samples).
TEST(StrokeCoding, EachKindWritesOnlyItsOwnKeys) {
    auto path = rectPath({1, 2, 3, 4});
    path->setLineWidth(6);
    const std::tuple<std::shared_ptr<Stroke>, const char*, bool> cases[] = {
        {Stroke::initWithBezierPath(path, Color::red(), 5, 0.25f), "line_width", false},
        {Stroke::initWithBezierStroke(path, Color::red(), 0, 1), "line_width", true},
        {Stroke::initWithPenPoints(penTrace({{0, 0}, {20, 3}}), Color::black(), 2, 1), "path",
         false},
    };
    for (const auto& [stroke, key, present] : cases) {
        KeyedArchiver coder;
        stroke->encodeWithCoder(coder);
        EXPECT_EQ(KeyedUnarchiver(coder.finishEncoding()).containsValueForKey(key), present) << key;
    }

    // A file holding both takes the pen points.
    auto points = penTrace({{5, 5}});
    const BezierPath decoy = BezierPath::bezierPathWithRect({100, 100, 1, 1});
    KeyedArchiver coder;
    coder.encodeObject(points.get(), "pen_points");
    coder.encodeBezierPath(&decoy, "path");
    KeyedUnarchiver reader(coder.finishEncoding());
    auto s = std::dynamic_pointer_cast<Stroke>(Stroke::initWithCoder(reader));
    EXPECT_EQ(*s->bezierPath(), *points->buildPath());
}

TEST(StrokePainting, CanvasGetsTheStrokeOnceWithItsOpacityAndAClearedScratchLayer) {
    VimoCanvas canvas(Size{32, 32});
    // Two overlapping squares in one path: the overlap must not build up.
    auto path = rectPath({4, 4, 12, 12});
    path->appendBezierPath(BezierPath::bezierPathWithRect({10, 10, 12, 12}));
    auto stroke = Stroke::initWithBezierPath(path, Color::red(), 0, 0.5f);
    const Rect r = stroke->drawInCanvas(canvas);
    EXPECT_TRUE(containsRect(r, {4, 4, 18, 18}));
    const std::uint32_t single = canvas.drawBitmap().at(6, 6);
    EXPECT_NEAR(double(single >> 24), 128, 2);
    EXPECT_EQ(canvas.drawBitmap().at(12, 12), single);
    EXPECT_EQ(canvas.drawBitmap().at(20, 20), single);
    EXPECT_EQ(canvas.drawBitmap().at(25, 5), TRANSPARENT);
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 32; ++x) {
            EXPECT_EQ(canvas.strokeBitmap().at(x, y), TRANSPARENT);
            EXPECT_EQ(canvas.previewBitmap().at(x, y), canvas.drawBitmap().at(x, y));
        }

    // Images go straight into the picture.
    QImage picture(2, 2, QImage::Format_ARGB32);
    picture.fill(0xFF00FF00);
    auto placed =
        Stroke::initWithImage(picture, cornerPath({24, 24}, {28, 24}, {28, 28}, {24, 28}), 1);
    placed->drawInCanvas(canvas);
    EXPECT_EQ(canvas.drawBitmap().at(26, 26), GREEN);
    EXPECT_EQ(canvas.previewBitmap().at(26, 26), GREEN);
    EXPECT_EQ(canvas.strokeBitmap().at(26, 26), TRANSPARENT);
}

// Printing draws strokes into whatever context is current.
TEST(StrokePainting, DrawPaintsIntoTheCurrentContextOnly) {
    auto stroke = Stroke::initWithBezierPath(rectPath({1, 1, 4, 4}), Color::blue(), 7, 0.5f);
    Bitmap bm(Size{8, 8});
    std::memset(bm.pixels(), 0, 8 * 8 * 4);
    CGContextWrapper::setCurrentContext(nullptr);
    stroke->draw();
    EXPECT_EQ(bm.at(2, 2), TRANSPARENT);
    CGContextWrapper::setCurrentContext(&bm.cgContext());
    stroke->draw(); // mode and opacity play no part here
    CGContextWrapper::setCurrentContext(nullptr);
    EXPECT_EQ(bm.at(2, 2), BLUE);
    EXPECT_EQ(bm.at(6, 6), TRANSPARENT);
}
