#include "pens/PenScriptApi.h"
#include "PenFixture.h"
#include "model/BezierPath.h"
#include "pens/PenCallbacks.h"
#include "raster/CGContextWrapper.h"

#include <lua.hpp>

#include <gtest/gtest.h>

namespace {

// A pen tool on tests/data/pens/api/api.lua as the script context; run()
// runs a chunk as one event.
struct ApiTest : testing::Test {
    PenRig rig{VIMO_TEST_DATA_DIR "/pens/api"};
    Lua& lua = *rig.pen.penType();

    ApiTest() { Lua::setContextView(&rig.view, &rig.pen); }

    int run(const std::string& code) { return runChunk(lua, code); }
    std::string text(const char* name) { return lua.getGlobalString(name).value_or("(nil)"); }
};

// Every bad call ends at once with its "Runtime error" text, and the state
// goes on running good code.
TEST_F(ApiTest, BadCallsRaiseTheExactErrorAndTheStateCarriesOn) {
    lua_pushlightuserdata(lua.state(), &rig); // a pointer the registry never handed out
    lua_setglobal(lua.state(), "forged");
    const struct {
        const char *setup, *code, *message; // setup runs as an event of its own first
    } calls[] = {{"", "move_to_point(bezier_path(), 5)", "move_to_point: wrong argument type"},
                 {"", "set_pen_transfer_mode(3)", "set_pen_transfer_mode: wrong argument type"},
                 {"", "close_path(forged)", "close_path: wrong class"},
                 // Not retained: gone when the event that made it ended.
                 {"stale = bezier_path()", "line_to_point(stale, {x = 1, y = 1})",
                  "line_to_point: wrong class"},
                 // Retained, then released: alive for the rest of that event only.
                 {"kept = retain(bezier_path()) release(kept) close_path(kept)", "add_fill(kept)",
                  "add_fill: wrong class"},
                 {"", "move_to_point(bezier_path(), {x = 0/0, y = 1})",
                  "point_arg: Point contains a NaN value (division by zero?)."},
                 {"", "append_bezier_path_with_rect(bezier_path(), {w = 0/0})",
                  "rect_arg: Rect contains a NaN value (division by zero?)."},
                 {"", "set_pen_color({green = 0/0})",
                  "color_arg: Color contains a NaN value (division by zero?)."},
                 {"", "set_line_width(bezier_path(), 0/0)",
                  "number_arg: Number contains a NaN value (division by zero?)."}};
    for (const auto& c : calls) {
        ASSERT_EQ(run(c.setup), 0);
        rig.alerts.clear();
        EXPECT_NE(run(c.code), 0);
        ASSERT_EQ(rig.alerts.alerts.size(), 1u) << c.code;
        EXPECT_EQ(rig.alerts.alerts[0].title, "Runtime error");
        EXPECT_EQ(rig.alerts.alerts[0].message, std::string("chunk:1: ") + c.message);
        rig.alerts.clear();
        EXPECT_EQ(run("local p = bezier_path() move_to_point(p, {x = 1, y = 2}) ok = 1"), 0);
        EXPECT_TRUE(rig.alerts.alerts.empty());
    }
}

// Retains count: one release of two leaves the path alive in later events.
TEST_F(ApiTest, RetainsCountAndMissingFieldsDefault) {
    ASSERT_EQ(run("p = retain(retain(bezier_path())) release(p)"), 0);
    ASSERT_EQ(run("append_bezier_path_with_oval_in_rect(p, {x = 3, y = 4})"), 0);
    lua_getglobal(lua.state(), "p");
    BezierPath* p = lua.objects().get<BezierPath>(lua_touserdata(lua.state(), -1));
    lua_pop(lua.state(), 1);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->bounds(), (Rect{3, 4, 0, 0}));
    EXPECT_EQ(p->lineJoinStyle(), BezierPath::LineJoin::Bevel);
    ASSERT_EQ(run("move_to_point(p, {x = 2, y = 'seven'})"), 0);
    EXPECT_EQ(p->currentPoint(), (Point{2, 0}));
}

// Missing colour fields default; an unknown mode name is "normal".
TEST_F(ApiTest, PenSettingsRoundTrip) {
    ASSERT_EQ(run("set_pen_color({red = 1, blue = 0.5}) set_pen_radius(9)"
                  " set_pen_transfer_mode('ERASE') got = get_pen_transfer_mode()"
                  " set_pen_transfer_mode('highlight')"),
              0);
    EXPECT_EQ(rig.pen.color(), Color::calibrated(1, 0, 0.5f, 1));
    EXPECT_EQ(rig.pen.radius(), 9);
    EXPECT_EQ(text("got"), "erase");
    EXPECT_EQ(rig.pen.transferMode(), 0);
}

// The callbacks see world coordinates, radius 0 at pen-down, the move's
// pressure and modifiers, and pressure 0 again at pen-up.
TEST_F(ApiTest, CallbacksSeeTheEvent) {
    rig.view.canvas()->setTransform(AffineMatrix::makeScale(2, 2));
    rig.pen.setRadius(10);
    ASSERT_EQ(run("function action(p, r) moved = table.concat({p.x, p.y, r, pressure(),"
                  " tostring(shift_down()), tostring(option_down()), tostring(caps_lock_down()),"
                  " tostring(control_down()), tostring(command_down()), scale()}, ' ') end "
                  "function up_action() up_pressure = pressure() end"),
              0);
    rig.down({40, 60}, 0.7f);
    rig.move({50, 70}, 0.5f, ToolEvent::ShiftKey | ToolEvent::CommandKey);
    rig.up();
    EXPECT_TRUE(rig.alerts.alerts.empty());
    ASSERT_EQ(run("down = string.format('%g %g %g', down_point.x, down_point.y, down_radius)"), 0);
    EXPECT_EQ(text("down"), "20 30 0");
    // The radius is 10 x 0.5 / 2.
    EXPECT_EQ(text("moved"), "25 35 2.5 0.5 true false false false true 2");
    EXPECT_EQ(lua.getGlobalNumber("up_pressure", -1), 0);
}

// "stroke" and "fill" queue paths in view coordinates for the next redraw
// and mark them dirty; the next move takes them away again.
TEST_F(ApiTest, LiveFeedbackIsQueuedUntilTheNextMove) {
    rig.view.canvas()->setTransform(AffineMatrix::makeScale(2, 2));
    ASSERT_EQ(run("function action(p, r)"
                  " local a = bezier_path() append_bezier_path_with_rect(a, {x = 10, y = 10,"
                  " w = 5, h = 5}) set_line_width(a, 1) stroke(a)"
                  " local b = bezier_path() append_bezier_path_with_rect(b, {x = 30, y = 10,"
                  " w = 5, h = 5}) fill(b) end"),
              0);
    rig.down({10, 10});
    rig.move({20, 20});
    EXPECT_EQ(lua.objects().size(), 0u); // the callback's own paths are gone with it
    Lua::Context& context = Lua::context();
    ASSERT_EQ(context.queued_paths.size(), 2u);
    EXPECT_EQ(context.queued_is_stroke, (std::vector<bool>{true, false}));
    EXPECT_EQ(context.queued_paths[0].bounds(), (Rect{20, 20, 10, 10}));
    EXPECT_EQ(context.queued_paths[0].lineWidth(), 2);
    EXPECT_EQ(context.dirty_rect, (Rect{18, 18, 52, 14}));

    // Redrawing the view draws both into its context in the pen colour.
    rig.pen.setColor(Color::calibrated(1, 0, 0));
    Bitmap screen(Size{200, 150});
    screen.fill(TRANSPARENT);
    CGContextWrapper::setCurrentContext(&screen.cgContext());
    rig.pen.toolDrawInView(rig.view);
    CGContextWrapper::setCurrentContext(nullptr);
    EXPECT_EQ(screen.at(65, 25), RED);         // inside the filled square
    EXPECT_EQ(screen.at(25, 25), TRANSPARENT); // the stroked one is hollow
    EXPECT_EQ(screen.at(20, 25), RED);
    EXPECT_TRUE(context.queued_paths.empty());

    rig.move({30, 30});
    rig.view.redrawn.clear();
    ASSERT_EQ(run("action = nil"), 0);
    rig.move({40, 40});
    EXPECT_TRUE(context.queued_paths.empty());
    ASSERT_FALSE(rig.view.redrawn.empty()); // the old feedback's area
    EXPECT_EQ(rig.view.redrawn[0], (Rect{18, 18, 52, 14}));
    rig.up();
}

// Previews are composited with the pen's opacity once, however often they
// overlap, and leave the picture alone. Adding a stroke ends them, even an
// empty one, which is only logged; so does pen-up.
TEST_F(ApiTest, PreviewsDoNotDarkenEachOtherAndEndWithAStrokeOrPenUp) {
    rig.pen.setOpacity(0.5f);
    ASSERT_EQ(run("function action(p, r) local a = bezier_path()"
                  " append_bezier_path_with_oval_in_rect(a, {x = 40, y = 40, w = 40, h = 40})"
                  " preview_fill(a) if p.x == 13 then add_fill(bezier_path()) end end"),
              0);
    rig.down({10, 10});
    rig.move({11, 11});
    const std::uint32_t once = rig.previewAt(60, 60);
    rig.move({12, 12});
    EXPECT_EQ(rig.previewAt(60, 60), once);
    EXPECT_NE(once, WHITE);
    EXPECT_EQ(rig.drawAt(60, 60), WHITE);
    EXPECT_EQ(Lua::context().preview_rect, (Rect{40, 40, 40, 40}));
    rig.move({13, 13});
    EXPECT_EQ(rig.previewAt(60, 60), WHITE);
    EXPECT_EQ(Lua::context().preview_rect, Rect{});
    EXPECT_EQ(rig.alerts.log, (std::vector<std::string>{"Bad stroke added by Lua pen."}));
    EXPECT_TRUE(rig.alerts.alerts.empty());
    rig.move({14, 14});
    EXPECT_EQ(rig.previewAt(60, 60), once);
    rig.up();
    EXPECT_EQ(rig.previewAt(60, 60), WHITE);
    EXPECT_EQ(rig.document.strokes().count(), 0);
}

TEST_F(ApiTest, AddedStrokesTakeThePenSettings) {
    rig.pen.setColor(Color::calibrated(0, 0, 1));
    rig.pen.setTransferModeString("darker");
    rig.pen.setOpacity(0.75f);
    ASSERT_EQ(run("function up_action() local a = bezier_path()"
                  " append_bezier_path_with_rect(a, {x = 10, y = 10, w = 20, h = 20})"
                  " set_line_width(a, 3) add_stroke(a)"
                  " local b = bezier_path() append_bezier_path_with_rect(b, {x = 50, y = 10,"
                  " w = 20, h = 20}) add_fill(b) end"),
              0);
    rig.drag({{10, 10}, {20, 20}});
    ASSERT_EQ(rig.document.strokes().count(), 2);
    const Stroke& outlined = *rig.document.strokes().strokeAtIndex(0);
    EXPECT_TRUE(outlined.drawAsStroke());
    EXPECT_EQ(outlined.lineWidth(), 3);
    EXPECT_EQ(outlined.color(), Color::calibrated(0, 0, 1));
    EXPECT_EQ(outlined.transferMode(), 2);
    EXPECT_EQ(outlined.opacity(), 0.75f);
    EXPECT_FALSE(rig.document.strokes().strokeAtIndex(1)->drawAsStroke());
    EXPECT_NE(rig.drawAt(60, 20), WHITE);
}

} // namespace
