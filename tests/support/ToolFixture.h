#pragma once

#include "model/AffineTransform.h"
#include "model/Stroke.h"
#include "model/Strokes.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"
#include "tools/Tool.h"
#include "tools/ToolDocument.h"
#include "tools/ToolView.h"

#include <QPainter>

#include <memory>
#include <optional>
#include <vector>

// A pointer event at a view point with modifier flags.
inline ToolEvent toolEventAt(Point at, std::uint32_t flags = 0) {
    ToolEvent e;
    e.location = at;
    e.modifierFlags = flags;
    return e;
}

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
    void redrawFromStroke(int index) override { redrawFrom.push_back(index); }
    QPainter* overlayPainter() override { return painter; }
    // The view commands act on the canvas as the real view does; each counts
    // as one change of the document.
    void zoomToPoint(Point p, float factor) override {
        _canvas->zoomToPoint(p, factor);
        viewChanges++;
    }
    void zoomToBitmapRect(const Rect& r) override {
        _canvas->zoomToBitmapRect(r);
        viewChanges++;
    }
    void rotateFrom(Point p1, Point p2) override {
        _canvas->rotateFrom(p1, p2);
        viewChanges++;
    }
    void moveFrom(Point p1, Point p2) override {
        _canvas->moveFrom(p1, p2);
        viewChanges++;
    }

    // What a tool draws as feedback, over a picture of the given colour.
    QImage overlayOf(Tool& tool, const QColor& under) {
        const Size s = _canvas->size();
        QImage image(int(s.width), int(s.height), QImage::Format_ARGB32_Premultiplied);
        image.fill(under);
        QPainter p(&image);
        painter = &p;
        tool.toolDrawInView(*this);
        painter = nullptr;
        return image;
    }

    std::vector<Rect> redrawn;
    std::vector<int> redrawFrom;
    QPainter* painter = nullptr; // set by a test around toolDrawInView
    int viewChanges = 0;
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
    void transformStrokesInArray(const Strokes::StrokeArray& array,
                                 const AffineTransform& t) override {
        _strokes.transformStrokesInArray(array, t);
        _view.redrawFromStroke(_strokes.minimumStrokeIndexInArray(array));
    }
    ToolView* view() override { return &_view; }
    void refreshCursor() override { _view.refreshCursor(); }

    std::optional<Color> toolColor;

private:
    TestView& _view;
    Strokes _strokes;
    Tool* _tool = nullptr;
};
