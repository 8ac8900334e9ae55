#include "raster/Path.h"
#include "raster/Bitmap.h"
#include "raster/CGContextWrapper.h"
#include "raster/GraphicsContext.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

PathElement el(std::int32_t type, Point a = {}, Point b = {}, Point c = {}) {
    return PathElement{type, {a, b, c}};
}

// A closed square, counter-clockwise (y up) or clockwise.
void square(std::vector<PathElement>& out, float x, float y, float s, bool ccw = true) {
    const Point second = ccw ? Point{x + s, y} : Point{x, y + s},
                fourth = ccw ? Point{x, y + s} : Point{x + s, y};
    out.insert(out.end(), {el(MoveToElement, {x, y}), el(LineToElement, second),
                           el(LineToElement, {x + s, y + s}), el(LineToElement, fourth),
                           el(ClosePathElement)});
}

} // namespace

TEST(Path, BatchesEndAtTheFirstCloseAfterTheirCount) {
    Bitmap bm(Size{4, 4});
    GraphicsContext& gc = bm.graphicsContext();
    // 25 closed subpaths of 10 elements: batches 0-109, 110-219, 220-249.
    std::vector<PathElement> e;
    for (int s = 0; s < 25; ++s) {
        e.push_back(el(MoveToElement, {0, 0}));
        for (int i = 0; i < 8; ++i) e.push_back(el(LineToElement, {float(i), 1}));
        e.push_back(el(ClosePathElement));
    }
    const Path path(e);
    EXPECT_EQ(path.loadPathStartingAt(0, 100, gc), 110);
    EXPECT_EQ(path.loadPathStartingAt(110, 100, gc), 220);
    EXPECT_EQ(path.loadPathStartingAt(220, 100, gc), 250);
    // A close exactly at start + count ends the batch there.
    EXPECT_EQ(path.loadPathStartingAt(1, 98, gc), 100);

    // One open subpath of 500 elements is a single batch.
    std::vector<PathElement> open{el(MoveToElement, {0, 0})};
    for (int i = 1; i < 500; ++i) open.push_back(el(LineToElement, {float(i % 7), float(i % 3)}));
    EXPECT_EQ(Path(open).loadPathStartingAt(0, 100, gc), 500);
}

TEST(Path, NonZeroBatchesDoNotCancelEachOther) {
    // Opposite squares: in one batch the overlap has winding zero; with the
    // second square in a later batch both are painted in full.
    auto render = [](bool sameBatch) {
        std::vector<PathElement> e;
        square(e, 10, 10, 20, true);
        std::vector<PathElement> filler;
        for (int i = 0; i < 20; ++i) square(filler, 60, 60, 2);
        if (sameBatch) {
            square(e, 20, 20, 20, false);
            e.insert(e.end(), filler.begin(), filler.end());
        } else {
            e.insert(e.end(), filler.begin(), filler.end());
            square(e, 20, 20, 20, false);
        }
        auto bm = std::make_unique<Bitmap>(Size{64, 64});
        bm->fill(0);
        const Rect r = Path(e).fillInContext(bm->cgContext(), NonZeroWindingRule);
        EXPECT_EQ(r, (Rect{10, 10, 52, 52}));
        return bm;
    };
    const auto same = render(true);
    const auto separate = render(false);
    EXPECT_EQ(same->at(15, 15), BLACK);
    EXPECT_EQ(same->at(35, 35), BLACK);
    EXPECT_EQ(same->at(25, 25), 0u);
    EXPECT_EQ(separate->at(25, 25), BLACK);
    EXPECT_EQ(separate->at(61, 61), BLACK);
}

// Strokes report bounds grown by a full line width; a curve's bounds
// include its control points and the path stays loaded.
TEST(Path, StrokeAndCurveBoundsAndEmptyPaths) {
    Bitmap bm(Size{32, 32});
    bm.fill(0);
    CGContextWrapper& w = bm.cgContext();
    w.setLineWidth(4);
    w.setStrokeColor(Color::red());
    const Path line(
        std::vector<PathElement>{el(MoveToElement, {0, 0}), el(LineToElement, {10, 0})});
    EXPECT_EQ(line.strokeInContext(w), (Rect{-4, -4, 18, 8}));
    EXPECT_EQ(bm.at(5, 1), RED); // half the width above the line
    EXPECT_EQ(bm.at(5, 2), 0u);

    EXPECT_EQ(Path().fillInContext(w, NonZeroWindingRule), Rect{});
    const Path curve(std::vector<PathElement>{el(MoveToElement, {1, 1}),
                                              el(CurveToElement, {5, 9}, {-3, 7}, {2, 2}),
                                              el(42, {100, 100}), // unknown kind: skipped
                                              el(ClosePathElement)});
    EXPECT_EQ(curve.boundsInContext(w), (Rect{-3, 1, 8, 8}));
    EXPECT_EQ(w.contextRef().pathBoundingBox(), (Rect{-3, 1, 8, 8}));
}
