#pragma once

#include "LuaTestSupport.h"
#include "model/Stroke.h"
#include "model/Strokes.h"
#include "model/VimoCanvas.h"
#include "pens/Pen.h"
#include "support/ToolFixture.h"

#include <string>
#include <vector>

// One pen tool over a fresh canvas, with its document, alerts and gestures.
struct PenRig {
    explicit PenRig(const std::string& pensDir, Size size = {200, 150},
                    const std::string& libDir = testLibDir())
        : view(size), document(view), pen(document, pensDir, libDir, &alerts) {}

    static ToolEvent event(Point at, float pressure, std::uint32_t flags) {
        ToolEvent e = toolEventAt(at, flags);
        e.pressure = pressure;
        return e;
    }
    void down(Point at, float pressure = 1, std::uint32_t flags = 0) {
        pen.toolDownEvent(event(at, pressure, flags), view, at);
    }
    void move(Point at, float pressure = 1, std::uint32_t flags = 0) {
        pen.toolMoveEvent(event(at, pressure, flags), at);
    }
    void up(std::uint32_t flags = 0) { pen.toolUpEvent(event({}, 0, flags)); }
    void drag(const std::vector<Point>& points, float pressure = 1, std::uint32_t flags = 0) {
        down(points.front(), pressure, flags);
        for (std::size_t i = 1; i < points.size(); i++) move(points[i], pressure, flags);
        up(flags);
    }
    std::uint32_t drawAt(int x, int y) { return view.canvas()->drawBitmap().at(x, y); }
    std::uint32_t previewAt(int x, int y) { return view.canvas()->previewBitmap().at(x, y); }

    RecordingAlerts alerts;
    TestView view;
    TestDocument document;
    Pen pen;
};
