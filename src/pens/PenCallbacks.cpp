#include "pens/PenCallbacks.h"

#include "model/BezierPath.h"
#include "model/VimoCanvas.h"
#include "pens/Lua.h"
#include "pens/Pen.h"
#include "pens/PenScriptApi.h"
#include "raster/CGContextWrapper.h"
#include "raster/Path.h"
#include "tools/ToolView.h"

#include <QPainter>
#include <QPen>

#include <lua.hpp>

namespace {

void clearQueue(Lua::Context& context) {
    context.queued_paths.clear();
    context.queued_is_stroke.clear();
}

// Hands each queued path in order to draw, with the pen colour in calibrated
// RGB and the pen opacity as its alpha (unless there is nothing to draw
// into), then empties the queue.
template <class Draw> void drawQueued(bool canDraw, Draw draw) {
    Lua::Context& context = Lua::context();
    if (canDraw && context.pen) {
        const Color c = context.pen->color()
                            .usingSpace(Color::Space::CalibratedRGB)
                            .withAlphaComponent(context.pen->opacity());
        for (std::size_t i = 0; i < context.queued_paths.size(); i++)
            draw(c, context.queued_paths[i], bool(context.queued_is_stroke[i]));
    }
    clearQueue(context);
}

void redraw(const Rect& r) {
    if (ToolView* view = Lua::context().view; view && !r.isEmpty()) view->setNeedsDisplayInRect(r);
}

} // namespace

void PenCallbacks::redrawAndClear(Rect& r) {
    redraw(r);
    r = Rect{};
}

void PenCallbacks::penDownAt(Lua& lua, Point world, float radius, const ToolEvent& event) {
    Lua::Context& context = Lua::context();
    context.dirty_rect = Rect{};
    context.preview_rect = Rect{};
    clearQueue(context);
    context.event = event;
    context.pressure = 0;
    lua.callFunction("pen_down", [&](lua_State* L) {
        PenScriptApi::pushPoint(L, world);
        lua_pushnumber(L, lua_Number(radius));
        return 2;
    });
    redraw(context.dirty_rect);
}

void PenCallbacks::penMoveTo(Lua& lua, Point world, float radius, const ToolEvent& event) {
    Lua::Context& context = Lua::context();
    // What "stroke" and "fill" showed for the previous move goes from view.
    redrawAndClear(context.dirty_rect);
    clearQueue(context);
    context.event = event;
    context.pressure = event.pressure;
    lua.callFunction("pen_move", [&](lua_State* L) {
        PenScriptApi::pushPoint(L, world);
        lua_pushnumber(L, lua_Number(radius));
        return 2;
    });
    redraw(context.dirty_rect);
}

void PenCallbacks::penUp(Lua& lua) {
    Lua::Context& context = Lua::context();
    context.pressure = 0;
    lua.call("pen_up");
    if (context.view && context.view->canvas())
        context.view->canvas()->endPreview(context.preview_rect);
    redrawAndClear(context.preview_rect);
    redrawAndClear(context.dirty_rect);
    clearQueue(context);
}

void PenCallbacks::penDraw(CGContextWrapper* target) {
    drawQueued(target != nullptr, [&](const Color& c, const BezierPath& p, bool isStroke) {
        target->setFillColor(c);
        target->setStrokeColor(c);
        const Path flat(p.elements());
        if (isStroke) {
            target->setLineWidth(p.lineWidth());
            flat.strokeInContext(*target);
        } else {
            flat.fillInContext(*target, 0);
        }
    });
}

void PenCallbacks::penDraw(QPainter& painter) {
    drawQueued(true, [&](const Color& c, const BezierPath& p, bool isStroke) {
        const QColor colour = QColor::fromRgbF(c.redComponent(), c.greenComponent(),
                                               c.blueComponent(), c.alphaComponent());
        const QPainterPath path =
            Path::painterPath(p.elements(), AffineMatrix::identity(), p.windingRule());
        if (!isStroke)
            painter.fillPath(path, colour);
        else if (p.lineWidth() >= 0)
            painter.strokePath(path, QPen(colour, double(p.lineWidth()), Qt::SolidLine, Qt::FlatCap,
                                          Qt::BevelJoin));
    });
}
