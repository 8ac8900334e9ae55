#include "pens/PenScriptApi.h"

#include "model/BezierPath.h"
#include "model/Stroke.h"
#include "model/VimoCanvas.h"
#include "pens/Lua.h"
#include "pens/Pen.h"
#include "pens/ScriptAlerts.h"
#include "raster/Bitmap.h"
#include "raster/CGContextWrapper.h"
#include "raster/Path.h"
#include "tools/ToolDocument.h"
#include "tools/ToolView.h"

#include <lua.hpp>

#include <cmath>
#include <memory>

namespace {

constexpr const char* kWrongType = "wrong argument type";
constexpr const char* kWrongClass = "wrong class";
constexpr const char* kBadStroke = "Bad stroke added by Lua pen.";

[[noreturn]] void raise(lua_State* L, const char* name, const char* text) {
    luaL_error(L, "%s: %s", name, text);
    std::abort(); // luaL_error does not return
}

Lua& host(lua_State* L) {
    Lua* lua = Lua::fromState(L);
    VIMO_ASSERT(lua != nullptr);
    return *lua;
}

// A number field of the table at index, or the default when it is missing or
// not a number.
float field(lua_State* L, int index, const char* name, float defaultValue = 0) {
    lua_getfield(L, index, name);
    const float v = lua_type(L, -1) == LUA_TNUMBER ? float(lua_tonumber(L, -1)) : defaultValue;
    lua_pop(L, 1);
    return v;
}

void pushPath(lua_State* L, BezierPath* path) {
    lua_pushlightuserdata(L, path);
}

Pen* contextPen() {
    return Lua::context().pen;
}

VimoCanvas* contextCanvas() {
    ToolView* view = Lua::context().view;
    return view ? view->canvas() : nullptr;
}

// ---- paths -----------------------------------------------------------------

int retain(lua_State* L) {
    PenScriptApi::pathArg(L, "retain");
    host(L).objects().retain(lua_touserdata(L, 1));
    lua_settop(L, 1);
    return 1;
}

int release(lua_State* L) {
    PenScriptApi::pathArg(L, "release");
    host(L).objects().release(lua_touserdata(L, 1));
    lua_settop(L, 1);
    return 1;
}

int bezierPath(lua_State* L) {
    auto path = std::make_unique<BezierPath>();
    path->setLineJoinStyle(BezierPath::LineJoin::Bevel);
    pushPath(L, host(L).objects().add(std::move(path)));
    return 1;
}

int moveToPoint(lua_State* L) {
    BezierPath& path = PenScriptApi::pathArg(L, "move_to_point");
    path.moveToPoint(PenScriptApi::pointArg(L, 2, "move_to_point"));
    return 0;
}

int lineToPoint(lua_State* L) {
    BezierPath& path = PenScriptApi::pathArg(L, "line_to_point");
    path.lineToPoint(PenScriptApi::pointArg(L, 2, "line_to_point"));
    return 0;
}

int curveToPoint(lua_State* L) {
    BezierPath& path = PenScriptApi::pathArg(L, "curve_to_point");
    const Point end = PenScriptApi::pointArg(L, 2, "curve_to_point");
    const Point c1 = PenScriptApi::pointArg(L, 3, "curve_to_point");
    const Point c2 = PenScriptApi::pointArg(L, 4, "curve_to_point");
    path.curveToPoint(end, c1, c2);
    return 0;
}

int appendOval(lua_State* L) {
    const char* name = "append_bezier_path_with_oval_in_rect";
    BezierPath& path = PenScriptApi::pathArg(L, name);
    path.appendBezierPathWithOvalInRect(PenScriptApi::rectArg(L, 2, name));
    return 0;
}

int appendRect(lua_State* L) {
    const char* name = "append_bezier_path_with_rect";
    BezierPath& path = PenScriptApi::pathArg(L, name);
    path.appendBezierPathWithRect(PenScriptApi::rectArg(L, 2, name));
    return 0;
}

int closePath(lua_State* L) {
    PenScriptApi::pathArg(L, "close_path").closePath();
    return 0;
}

int setLineWidth(lua_State* L) {
    BezierPath& path = PenScriptApi::pathArg(L, "set_line_width");
    path.setLineWidth(PenScriptApi::numberArg(L, 2, "set_line_width"));
    return 0;
}

int setColor(lua_State* L) {
    const Color c = PenScriptApi::colorArg(L, 1, "set_color");
    if (CGContextWrapper* context = CGContextWrapper::currentContext()) {
        context->setFillColor(c);
        context->setStrokeColor(c);
    }
    return 0;
}

// ---- live feedback, previews, added strokes ----------------------------------

void queue(lua_State* L, const char* name, bool isStroke) {
    const BezierPath& path = PenScriptApi::pathArg(L, name);
    Lua::Context& context = Lua::context();
    ToolView* view = context.view;
    VimoCanvas* canvas = contextCanvas();
    if (!view || !canvas) return;
    BezierPath p = path;
    p.transformUsingAffineTransform(AffineTransform(canvas->transform()));
    p.setLineWidth(path.lineWidth() * view->scale());
    Rect b = p.bounds();
    if (b.hasNaN()) return;
    if (isStroke) b = insetRect(b, -p.lineWidth(), -p.lineWidth());
    context.dirty_rect = unionRect(context.dirty_rect, b);
    context.queued_paths.push_back(std::move(p));
    context.queued_is_stroke.push_back(isStroke);
}

int stroke(lua_State* L) {
    queue(L, "stroke", true);
    return 0;
}

int fill(lua_State* L) {
    queue(L, "fill", false);
    return 0;
}

void preview(lua_State* L, const char* name, bool isStroke) {
    const BezierPath& path = PenScriptApi::pathArg(L, name);
    if (path.bounds().hasNaN()) return;
    VimoCanvas* canvas = contextCanvas();
    Pen* pen = contextPen();
    if (!canvas || !pen) return;
    Bitmap& strokeBitmap = canvas->strokeBitmap();
    CGContextWrapper& context = strokeBitmap.cgContext();
    context.setFillColor(pen->color());
    context.setStrokeColor(pen->color());
    context.setLineWidth(path.lineWidth());
    const Path flat(path.elements());
    const Rect r = isStroke ? flat.strokeInContext(context) : flat.fillInContext(context, 0);
    const Rect br = strokeBitmap.worldRectToBitmapRect(r);
    canvas->drawBitmap().copyRect(br, canvas->previewBitmap());
    strokeBitmap.transferRect(br, canvas->previewBitmap(), pen->transferMode(), pen->opacity());
    Lua::Context& lc = Lua::context();
    lc.preview_rect = unionRect(lc.preview_rect, br);
    lc.view->setNeedsDisplayInRect(br);
}

int previewStroke(lua_State* L) {
    preview(L, "preview_stroke", true);
    return 0;
}

int previewFill(lua_State* L) {
    preview(L, "preview_fill", false);
    return 0;
}

void add(lua_State* L, const char* name, bool isStroke) {
    const BezierPath& path = PenScriptApi::pathArg(L, name);
    Lua& lua = host(L);
    if (path.bounds().hasNaN()) {
        lua.alerts().scriptLog(kBadStroke);
        return;
    }
    Pen* pen = contextPen();
    if (!pen) return;
    auto shared = std::make_shared<BezierPath>(path);
    std::shared_ptr<Stroke> s =
        isStroke
            ? Stroke::initWithBezierStroke(shared, pen->color(), pen->transferMode(),
                                           pen->opacity())
            : Stroke::initWithBezierPath(shared, pen->color(), pen->transferMode(), pen->opacity());
    Lua::Context& context = Lua::context();
    if (VimoCanvas* canvas = contextCanvas()) canvas->endPreview(context.preview_rect);
    if (context.view) context.view->setNeedsDisplayInRect(context.preview_rect);
    context.preview_rect = Rect{};
    // An empty path draws nothing: it is refused like a bad one.
    if (!s || s->bad() || path.isEmpty()) {
        lua.alerts().scriptLog(kBadStroke);
        return;
    }
    pen->document().addStroke(std::move(s));
}

int addStroke(lua_State* L) {
    add(L, "add_stroke", true);
    return 0;
}

int addFill(lua_State* L) {
    add(L, "add_fill", false);
    return 0;
}

// ---- pen settings ------------------------------------------------------------

int setPenColor(lua_State* L) {
    const Color c = PenScriptApi::colorArg(L, 1, "set_pen_color");
    if (Pen* pen = contextPen()) pen->setColor(c);
    return 0;
}

int getPenColor(lua_State* L) {
    const Color c = contextPen() ? contextPen()->color().usingSpace(Color::Space::CalibratedRGB)
                                 : Color::black();
    lua_createtable(L, 0, 4);
    lua_pushnumber(L, lua_Number(c.redComponent()));
    lua_setfield(L, -2, "red");
    lua_pushnumber(L, lua_Number(c.greenComponent()));
    lua_setfield(L, -2, "green");
    lua_pushnumber(L, lua_Number(c.blueComponent()));
    lua_setfield(L, -2, "blue");
    lua_pushnumber(L, lua_Number(c.alphaComponent()));
    lua_setfield(L, -2, "alpha");
    return 1;
}

int setPenOpacity(lua_State* L) {
    const float v = PenScriptApi::numberArg(L, 1, "set_pen_opacity");
    if (Pen* pen = contextPen()) pen->setOpacity(v);
    return 0;
}

int getPenOpacity(lua_State* L) {
    lua_pushnumber(L, contextPen() ? lua_Number(contextPen()->opacity()) : 1.0);
    return 1;
}

int setPenRadius(lua_State* L) {
    const float v = PenScriptApi::numberArg(L, 1, "set_pen_radius");
    if (Pen* pen = contextPen()) pen->setRadius(v);
    return 0;
}

int getPenRadius(lua_State* L) {
    lua_pushnumber(L, contextPen() ? lua_Number(contextPen()->radius()) : 5.0);
    return 1;
}

int setPenTransferMode(lua_State* L) {
    PenScriptApi::typeCheck(L, 1, LUA_TSTRING, "set_pen_transfer_mode");
    std::string name = lua_tostring(L, 1);
    if (Pen* pen = contextPen()) pen->setTransferModeString(name);
    return 0;
}

int getPenTransferMode(lua_State* L) {
    const std::string name = contextPen() ? contextPen()->transferModeString() : "normal";
    lua_pushlstring(L, name.data(), name.size());
    return 1;
}

// ---- the current event -------------------------------------------------------

int pressure(lua_State* L) {
    lua_pushnumber(L, lua_Number(Lua::context().pressure));
    return 1;
}

int scale(lua_State* L) {
    ToolView* view = Lua::context().view;
    lua_pushnumber(L, view ? lua_Number(view->scale()) : 1.0);
    return 1;
}

int modifier(lua_State* L, std::uint32_t bit) {
    lua_pushboolean(L, (Lua::context().event.modifierFlags & bit) != 0);
    return 1;
}

int capsLockDown(lua_State* L) {
    return modifier(L, ToolEvent::CapsLockKey);
}
int shiftDown(lua_State* L) {
    return modifier(L, ToolEvent::ShiftKey);
}
int controlDown(lua_State* L) {
    return modifier(L, ToolEvent::ControlKey);
}
int optionDown(lua_State* L) {
    return modifier(L, ToolEvent::OptionKey);
}
int commandDown(lua_State* L) {
    return modifier(L, ToolEvent::CommandKey);
}

const lua_CFunction kFunctions[PenScriptApi::kFunctionCount] = {
    retain,        release,      bezierPath,   moveToPoint,        lineToPoint,
    curveToPoint,  appendOval,   appendRect,   closePath,          setLineWidth,
    setColor,      stroke,       fill,         addStroke,          addFill,
    previewStroke, previewFill,  setPenColor,  getPenColor,        setPenOpacity,
    getPenOpacity, setPenRadius, getPenRadius, setPenTransferMode, getPenTransferMode,
    pressure,      scale,        capsLockDown, shiftDown,          controlDown,
    optionDown,    commandDown,
};

} // namespace

const char* const PenScriptApi::kFunctionNames[kFunctionCount] = {
    "retain",
    "release",
    "bezier_path",
    "move_to_point",
    "line_to_point",
    "curve_to_point",
    "append_bezier_path_with_oval_in_rect",
    "append_bezier_path_with_rect",
    "close_path",
    "set_line_width",
    "set_color",
    "stroke",
    "fill",
    "add_stroke",
    "add_fill",
    "preview_stroke",
    "preview_fill",
    "set_pen_color",
    "get_pen_color",
    "set_pen_opacity",
    "get_pen_opacity",
    "set_pen_radius",
    "get_pen_radius",
    "set_pen_transfer_mode",
    "get_pen_transfer_mode",
    "pressure",
    "scale",
    "caps_lock_down",
    "shift_down",
    "control_down",
    "option_down",
    "command_down",
};

void PenScriptApi::install() {
    Lua::setLibraryExtension(&PenScriptApi::registerFunctions);
}

void PenScriptApi::registerFunctions(lua_State* L) {
    for (int i = 0; i < kFunctionCount; i++) {
        lua_pushcfunction(L, kFunctions[i]);
        lua_setfield(L, LUA_GLOBALSINDEX, kFunctionNames[i]);
    }
}

void PenScriptApi::typeCheck(lua_State* L, int index, int type, const char* function) {
    if (lua_type(L, index) != type) raise(L, function, kWrongType);
}

BezierPath& PenScriptApi::pathArg(lua_State* L, const char* function) {
    typeCheck(L, 1, LUA_TLIGHTUSERDATA, function);
    BezierPath* path = host(L).objects().get<BezierPath>(lua_touserdata(L, 1));
    if (!path) raise(L, function, kWrongClass);
    return *path;
}

float PenScriptApi::numberArg(lua_State* L, int index, const char* function) {
    typeCheck(L, index, LUA_TNUMBER, function);
    const double v = lua_tonumber(L, index);
    if (std::isnan(v)) raise(L, "number_arg", "Number contains a NaN value (division by zero?).");
    return float(v);
}

Point PenScriptApi::pointArg(lua_State* L, int index, const char* function) {
    typeCheck(L, index, LUA_TTABLE, function);
    const Point p{field(L, index, "x"), field(L, index, "y")};
    if (std::isnan(p.x) || std::isnan(p.y))
        raise(L, "point_arg", "Point contains a NaN value (division by zero?).");
    return p;
}

Rect PenScriptApi::rectArg(lua_State* L, int index, const char* function) {
    typeCheck(L, index, LUA_TTABLE, function);
    const Rect r{field(L, index, "x"), field(L, index, "y"), field(L, index, "w"),
                 field(L, index, "h")};
    if (r.hasNaN()) raise(L, "rect_arg", "Rect contains a NaN value (division by zero?).");
    return r;
}

Color PenScriptApi::colorArg(lua_State* L, int index, const char* function) {
    typeCheck(L, index, LUA_TTABLE, function);
    const float r = field(L, index, "red"), g = field(L, index, "green"),
                b = field(L, index, "blue"), a = field(L, index, "alpha", 1);
    if (std::isnan(r) || std::isnan(g) || std::isnan(b) || std::isnan(a))
        raise(L, "color_arg", "Color contains a NaN value (division by zero?).");
    return Color::calibrated(r, g, b, a);
}

void PenScriptApi::pushPoint(lua_State* L, Point p) {
    lua_createtable(L, 0, 2);
    lua_pushnumber(L, lua_Number(p.x));
    lua_setfield(L, -2, "x");
    lua_pushnumber(L, lua_Number(p.y));
    lua_setfield(L, -2, "y");
}
