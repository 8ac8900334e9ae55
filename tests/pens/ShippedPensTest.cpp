#include "PenFixture.h"

#include <QDir>
#include <QImage>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <set>

namespace {

const std::string kPens = VIMO_SOURCE_DIR "/resources/Pens";
const std::string kLib = VIMO_SOURCE_DIR "/resources/Lib";
const std::string kImages = VIMO_SOURCE_DIR "/resources/Images";

struct ShippedRig : PenRig {
    ShippedRig() : PenRig(kPens, {240, 160}, kLib) {}
};

// Compares a bitmap with tests/data/pens/golden/<name>.png; a missing golden
// (or VIMO_UPDATE_GOLDEN=1) is written instead. Up to 0.2 % of the channels
// may differ by more than 3.
void expectMatchesGolden(const Bitmap& bitmap, const std::string& name) {
    const QString golden = QString(VIMO_TEST_DATA_DIR "/pens/golden/%1.png").arg(name.c_str());
    const QImage actual = bitmap.image().convertToFormat(QImage::Format_RGBA8888);
    if (const char* update = std::getenv("VIMO_UPDATE_GOLDEN");
        (update && *update == '1') || QImage(golden).isNull()) {
        ASSERT_TRUE(actual.save(golden)) << golden.toStdString();
        GTEST_SKIP() << "wrote " << golden.toStdString();
    }
    const QImage expected = QImage(golden).convertToFormat(QImage::Format_RGBA8888);
    ASSERT_EQ(expected.size(), actual.size()) << name;
    long off = 0;
    for (qsizetype i = 0; i < actual.sizeInBytes(); i++)
        off += std::abs(actual.constBits()[i] - expected.constBits()[i]) > 3;
    const long allowed = long(actual.sizeInBytes() / 500);
    if (off > allowed && QDir().mkpath(VIMO_TEST_OUTPUT_DIR))
        actual.save(QString(VIMO_TEST_OUTPUT_DIR "/%1.png").arg(name.c_str()));
    EXPECT_LE(off, allowed) << name << ": " << off << " channels differ by more than 3; the picture"
                            << " is in " VIMO_TEST_OUTPUT_DIR;
}

// Every shipped pen type loads cleanly with what the interface reads.
TEST(ShippedPens, LoadWithEverythingTheInterfaceReads) {
    ShippedRig rig;
    EXPECT_TRUE(rig.alerts.alerts.empty());
    EXPECT_EQ(rig.pen.penTypeName(), "Pen");
    const std::vector<std::string> names = rig.pen.penTypeNames();
    EXPECT_EQ(names.size(), 12u);
    std::set<int> positions;
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        Lua& lua = *rig.pen.penTypeNamed(name);
        EXPECT_TRUE(lua.getGlobalString("key"));
        EXPECT_GT(lua.getGlobalNumber("menu_position", -1), 0);
        const int position = int(lua.getGlobalNumber("icon_position", -1));
        EXPECT_GT(position, 0);
        EXPECT_TRUE(positions.insert(position).second) << "icon position taken: " << position;
        const std::string icon = lua.getGlobalString("icon").value_or("");
        const QImage image(QString::fromStdString(kImages + "/" + icon + ".png"));
        EXPECT_EQ(image.size(), QSize(20, 20)) << icon;
        rig.pen.setPenTypeName(name);
        if (rig.pen.customPen()) {
            for (const char* f : {"pen_down", "pen_move", "pen_up"})
                EXPECT_EQ(lua.getGlobalType(f), 6 /* function */) << f;
        }
        for (const std::string& p : rig.pen.customParameters()) {
            EXPECT_LT(rig.pen.parameterMin(p), rig.pen.parameterMax(p)) << p;
            EXPECT_GE(rig.pen.getParameter(p), rig.pen.parameterMin(p)) << p;
            EXPECT_LE(rig.pen.getParameter(p), rig.pen.parameterMax(p)) << p;
        }
    }
}

// A wavy gesture with rising then falling pressure.
void drawWave(PenRig& rig, float y) {
    rig.down({20, y}, 0.2f);
    for (int i = 1; i <= 40; i++) {
        const float t = float(i) / 40;
        rig.move({20 + 200 * t, y + 18 * std::sin(t * 6.2832f)},
                 0.2f + 0.8f * std::sin(t * 3.1416f));
    }
    rig.up();
}

void waves(PenRig& rig) {
    drawWave(rig, 110);
    drawWave(rig, 50);
}

std::vector<Point> straight(Point a, Point b) {
    const int n = std::max(1, int(std::hypot(b.x - a.x, b.y - a.y) / 5));
    std::vector<Point> points;
    for (int i = 0; i <= n; i++) {
        const float t = float(i) / float(n);
        points.push_back({a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t});
    }
    return points;
}

// A black bar to draw across, so that the transfer mode shows.
void overBar(PenRig& rig) {
    rig.pen.setPenTypeName("Pen");
    rig.pen.setRadius(12);
    rig.drag(straight({30, 80}, {210, 80}));
}

void highlighter(PenRig& rig) {
    overBar(rig);
    rig.pen.setPenTypeName("Highlighter");
    drawWave(rig, 80);
}

void eraser(PenRig& rig) {
    overBar(rig);
    rig.pen.setPenTypeName("Eraser");
    rig.drag(straight({120, 20}, {120, 140}), 0.8f);
}

// Dragged freely, then twice with shift, which keeps lines on multiples of
// 15 degrees and shapes square.
void shapes(PenRig& rig) {
    rig.drag({{20, 20}, {60, 40}, {100, 70}});
    rig.drag({{130, 20}, {170, 60}, {200, 75}}, 1, ToolEvent::ShiftKey);
    rig.drag({{40, 140}, {80, 130}, {110, 90}}, 1, ToolEvent::ShiftKey);
}

void filled(PenRig& rig) {
    rig.pen.setColor(Color::calibrated(0.2f, 0.4f, 0.8f));
    rig.pen.setParameter("filled", 1);
    rig.drag({{30, 30}, {120, 130}});
}

void calligraphyAngles(PenRig& rig) {
    drawWave(rig, 110);
    rig.pen.setParameter("angle", 135);
    drawWave(rig, 50);
}

struct PenCase {
    const char* name;
    void (*draw)(PenRig&);
    int strokes;
    const char* variant = "";
    // The picture's name: the pen's, spaces as '_', and the variant.
    std::string golden() const {
        std::string file = std::string(name) + variant;
        std::replace(file.begin(), file.end(), ' ', '_');
        return file;
    }
};

class ShippedPenGolden : public testing::TestWithParam<PenCase> {};

// Each shipped pen draws what it drew when its picture was approved.
TEST_P(ShippedPenGolden, MatchesTheApprovedPicture) {
    const PenCase& c = GetParam();
    ShippedRig rig;
    rig.pen.setPenTypeName(c.name);
    ASSERT_EQ(rig.pen.penTypeName(), c.name);
    c.draw(rig);
    EXPECT_TRUE(rig.alerts.alerts.empty())
        << rig.alerts.alerts[0].title << ": " << rig.alerts.alerts[0].message;
    EXPECT_EQ(rig.document.strokes().count(), c.strokes);
    expectMatchesGolden(rig.view.canvas()->drawBitmap(), c.golden());
}

INSTANTIATE_TEST_SUITE_P(
    Pens, ShippedPenGolden,
    testing::Values(PenCase{"Pen", waves, 2}, PenCase{"Soft Brush", waves, 2},
                    PenCase{"Highlighter", highlighter, 2}, PenCase{"Eraser", eraser, 2},
                    PenCase{"Calligraphy", calligraphyAngles, 2}, PenCase{"Airbrush", waves, 2},
                    PenCase{"Straight Line", shapes, 3}, PenCase{"Rectangle", shapes, 3},
                    PenCase{"Ellipse", shapes, 3},
                    PenCase{"Ribbon", [](PenRig& rig) { drawWave(rig, 80); }, 1},
                    PenCase{"Ellipse", filled, 1, "_filled"}),
    [](const testing::TestParamInfo<PenCase>& param) {
        std::string n = param.param.golden();
        n.erase(std::remove(n.begin(), n.end(), '_'), n.end());
        return n;
    });

} // namespace
