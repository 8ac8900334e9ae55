#include "raster/CGContextWrapper.h"
#include "raster/Bitmap.h"
#include "raster/GraphicsContext.h"

#include <gtest/gtest.h>

#include <memory>

// The wrapper skips colours equal to its own record, and the record is not
// part of the saved graphics state; other settings are forwarded.
TEST(CGContextWrapper, SkipsColoursEqualToTheRecordAndForwardsTheRest) {
    Bitmap bm(Size{2, 2});
    CGContextWrapper& w = bm.cgContext();
    GraphicsContext& gc = w.contextRef();
    // The first black fill is taken as already set.
    gc.setFillColor(Color::device(0, 0, 1));
    w.setFillColor(Color::black());
    EXPECT_EQ(gc.fillColor(), Color::device(0, 0, 1));
    // A differently tagged black is another colour and is sent.
    w.setFillColor(Color::device(0, 0, 0));
    EXPECT_EQ(gc.fillColor().blueComponent(), 0);

    // Restoring brings back the context's colour but not the record, so the
    // same colour set again afterwards is skipped.
    w.setFillColor(Color::red());
    w.saveGraphicsState();
    w.setFillColor(Color::blue());
    w.restoreGraphicsState();
    EXPECT_EQ(gc.fillColor().redComponent(), 1);
    w.setFillColor(Color::blue());
    EXPECT_EQ(gc.fillColor().redComponent(), 1);

    // Stroke colours start empty: the first one, even black, is always sent.
    EXPECT_FALSE(w.strokeColor().has_value());
    gc.setStrokeColor(Color::green());
    w.setStrokeColor(Color::black());
    EXPECT_EQ(gc.strokeColor().greenComponent(), 0);
    gc.setStrokeColor(Color::green());
    w.setStrokeColor(Color::black());
    EXPECT_EQ(gc.strokeColor(), Color::green());

    // The record says no antialiasing while the context itself antialiases.
    EXPECT_FALSE(w.shouldAntialias());
    EXPECT_TRUE(gc.shouldAntialias());
    using Q = GraphicsContext::InterpolationQuality;
    const struct {
        unsigned value;
        Q quality;
    } cases[] = {{3, Q::High}, {2, Q::Low}, {1, Q::None}, {0, Q::Default}, {7, Q::Default}};
    for (const auto& c : cases) {
        w.setImageInterpolation(c.value);
        EXPECT_EQ(w.imageInterpolation(), c.value);
        EXPECT_EQ(gc.interpolationQuality(), c.quality) << c.value;
    }
    w.setPatternPhase(Point{3, -2});
    EXPECT_EQ(gc.patternPhase(), (Point{3, -2}));
    w.setShouldAntialias(true);
    w.setShouldAntialias(false);
    EXPECT_FALSE(gc.shouldAntialias());
    w.setLineWidth(2.5f);

    // Save and restore reach the context's state; the record stays.
    w.saveGraphicsState();
    gc.translateCTM(5, 5);
    w.setLineWidth(9);
    w.restoreGraphicsState();
    EXPECT_TRUE(gc.ctm().isIdentity());
    EXPECT_EQ(gc.lineWidth(), 2.5f);
    EXPECT_EQ(w.lineWidth(), 9);
}

TEST(CGContextWrapper, DestroyingTheCurrentContextClearsIt) {
    auto bm = std::make_unique<Bitmap>(Size{2, 2});
    CGContextWrapper::setCurrentContext(&bm->cgContext());
    { Bitmap gone(Size{1, 1}); } // another wrapper: the current one stays
    EXPECT_EQ(CGContextWrapper::currentContext(), &bm->cgContext());
    bm.reset();
    EXPECT_EQ(CGContextWrapper::currentContext(), nullptr);
}
