#pragma once

#include "raster/Color.h"
#include "raster/Geometry.h"

struct lua_State;
class BezierPath;

// The drawing functions a pen script sees as globals: paths (light userdata
// checked against the host's live objects), live feedback ("stroke",
// "fill"), canvas previews, added strokes, the pen's settings and the
// current event's pressure and modifiers. They act on the view and pen tool
// of the host's context record (Lua::context()).
//
// Every argument fault raises a Lua error "name: text", where name is the
// called function for type and class faults and the checker ("number_arg",
// "point_arg", "rect_arg", "color_arg") for NaN values.
class PenScriptApi {
public:
    static constexpr int kFunctionCount = 32;
    static const char* const kFunctionNames[kFunctionCount];

    // Makes every Lua state created afterwards carry the functions.
    static void install();
    // Registers the functions as globals of L (the host's library hook).
    static void registerFunctions(lua_State* L);

    // Argument checkers; each returns the value or raises the Lua error.
    static BezierPath& pathArg(lua_State* L, const char* function);
    static float numberArg(lua_State* L, int index, const char* function);
    static Point pointArg(lua_State* L, int index, const char* function);
    static Rect rectArg(lua_State* L, int index, const char* function);
    static Color colorArg(lua_State* L, int index, const char* function);
    static void typeCheck(lua_State* L, int index, int type, const char* function);

    // Pushes a new point table {x = ..., y = ...}.
    static void pushPoint(lua_State* L, Point p);
};
