#include "raster/CGContextWrapper.h"
#include "raster/Bitmap.h"
#include "raster/GraphicsContext.h"

#include <gtest/gtest.h>

#include <memory>

// The wrapper skips colours equal to its own record, which is not part of
// the saved graphics state; a stale record would drop a colour change.
TEST(CGContextWrapper, SkipsColoursEqualToTheRecordWhichSaveDoesNotRestore) {
    Bitmap bm(Size{2, 2});
    CGContextWrapper& w = bm.cgContext();
    GraphicsContext& gc = w.contextRef();
    gc.setFillColor(Color::device(0, 0, 1));
    w.setFillColor(Color::black()); // the record starts black: skipped
    EXPECT_EQ(gc.fillColor(), Color::device(0, 0, 1));
    w.setFillColor(Color::device(0, 0, 0)); // a differently tagged black is sent
    EXPECT_EQ(gc.fillColor().blueComponent(), 0);

    w.setFillColor(Color::red());
    w.saveGraphicsState();
    w.setFillColor(Color::blue());
    w.restoreGraphicsState();
    EXPECT_EQ(gc.fillColor().redComponent(), 1);
    w.setFillColor(Color::blue()); // still the record: skipped
    EXPECT_EQ(gc.fillColor().redComponent(), 1);

    // Stroke colours start empty: the first one, even black, is sent.
    gc.setStrokeColor(Color::green());
    w.setStrokeColor(Color::black());
    EXPECT_EQ(gc.strokeColor().greenComponent(), 0);
    gc.setStrokeColor(Color::green());
    w.setStrokeColor(Color::black());
    EXPECT_EQ(gc.strokeColor(), Color::green());

    w.setLineWidth(2.5f);
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
