#pragma once

#include "RecordingAlerts.h"
#include "model/Stroke.h"
#include "model/Strokes.h"
#include "model/VimoCanvas.h"
#include "pens/Lua.h"
#include "pens/Pen.h"
#include "raster/Bitmap.h"
#include "tools/ToolDocument.h"
#include "tools/ToolView.h"

#include <QImage>

#include <memory>
#include <string>
#include <vector>

// A headless view over a canvas: records what it is asked to redraw.
class TestView : public ToolView {
public:
    explicit TestView(Size size) : _canvas(std::make_unique<VimoCanvas>(size)) {
        _canvas->fill(WHITE);
        _canvas->strokeBitmap().fill(TRANSPARENT);
    }
    VimoCanvas* canvas() override { return _canvas.get(); }
    float scale() const override { return _canvas->transform().scaleFactor(); }
    Rect bounds() const override { return {0, 0, _canvas->size().width, _canvas->size().height}; }
    void setNeedsDisplayInRect(const Rect& r) override { redrawn.push_back(r); }
    void setNeedsDisplay() override { redrawn.push_back(bounds()); }
    Color windowBackgroundColor() const override { return background; }
    void refreshCursor() override { cursorRefreshes++; }
    void redrawFromStroke(int index) override { (void)index; }

    std::vector<Rect> redrawn;
    Color background = Color::calibrated(0.25f, 0.5f, 0.75f);
    int cursorRefreshes = 0;

private:
    std::unique_ptr<VimoCanvas> _canvas;
};

// A headless document: a stroke list painted into the view's canvas.
class TestDocument : public ToolDocument {
public:
    explicit TestDocument(TestView& view) : _view(view) {}
    Tool* tool() const override { return _tool; }
    void setTool(Tool* t) override { _tool = t; }
    void setToolColor(const Color& c) override { toolColor = c; }
    void addStroke(std::shared_ptr<Stroke> stroke) override {
        _strokes.addStroke(stroke);
        stroke->drawInCanvas(*_view.canvas());
    }
    Strokes& strokes() override { return _strokes; }
    ToolView* view() override { return &_view; }
    void refreshCursor() override { _view.refreshCursor(); }

    std::optional<Color> toolColor;

private:
    TestView& _view;
    Strokes _strokes;
    Tool* _tool = nullptr;
};

// One pen tool over a fresh canvas, its documents and recorded alerts, with
// helpers to drive gestures.
struct PenRig {
    explicit PenRig(const std::string& pensDir, Size size = {200, 150},
                    const std::string& libDir = VIMO_TEST_DATA_DIR "/lib")
        : view(size), document(view), pen(document, pensDir, libDir, &alerts) {}

    static ToolEvent event(Point at, float pressure = 1, std::uint32_t flags = 0) {
        ToolEvent e;
        e.location = at;
        e.pressure = pressure;
        e.modifierFlags = flags;
        return e;
    }
    void down(Point at, float pressure = 1, std::uint32_t flags = 0) {
        pen.toolDownEvent(event(at, pressure, flags), view, at);
    }
    void move(Point at, float pressure = 1, std::uint32_t flags = 0) {
        pen.toolMoveEvent(event(at, pressure, flags), at);
    }
    void up(std::uint32_t flags = 0) { pen.toolUpEvent(event({}, 0, flags)); }
    // down, the moves, up.
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
