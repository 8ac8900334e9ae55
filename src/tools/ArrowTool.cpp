#include "tools/ArrowTool.h"

#include "model/AffineTransform.h"
#include "model/BezierPath.h"
#include "model/Stroke.h"
#include "model/Strokes.h"
#include "model/VimoCanvas.h"
#include "raster/Path.h"
#include "tools/ToolDocument.h"
#include "tools/ToolFeedback.h"
#include "tools/ToolView.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace {

// Per-stroke highlights only for selections this small.
constexpr std::size_t kMaxHighlightedStrokes = 20;
constexpr int kMaxHighlightedElements = 2000;
// A press that only changed the selection becomes a drag beyond this.
constexpr float kDragThreshold = 10.0f;

Point centreOf(const Rect& r) {
    return {r.x + r.width / 2, r.y + r.height / 2};
}

QPainterPath painterPath(const BezierPath& path, const AffineMatrix& m) {
    return Path::painterPath(path.elements(), m, path.windingRule());
}

} // namespace

ArrowTool::ArrowTool(ToolDocument& document) : _document(document) {}

void ArrowTool::setSelection(const StrokeArray& array) {
    if (&array == &_selection) return;
    _selection.clear();
    _selection.insert(_selection.end(), array.begin(), array.end());
}

Rect ArrowTool::selectionBounds() const {
    if (_selection.empty()) return {};
    Rect r = _selection.front()->bounds();
    for (std::size_t i = 1; i < _selection.size(); ++i) {
        const Rect b = _selection[i]->bounds();
        const float x0 = std::min(r.x, b.x), y0 = std::min(r.y, b.y);
        const float x1 = std::max(r.x + r.width, b.x + b.width);
        const float y1 = std::max(r.y + r.height, b.y + b.height);
        r = {x0, y0, x1 - x0, y1 - y0};
    }
    return r;
}

Point ArrowTool::world(Point viewPoint) const {
    if (!_view || !_view->canvas()) return viewPoint;
    return _view->canvas()->bitmapPointToWorldPoint(viewPoint);
}

bool ArrowTool::isSelected(const Stroke* s) const {
    return std::any_of(_selection.begin(), _selection.end(),
                       [s](const auto& x) { return x.get() == s; });
}

AffineTransform ArrowTool::transformFrom(Point p1, Point p2) const {
    const Point a = world(p1), b = world(p2), c = _drag_center;
    const Point d1{a.x - c.x, a.y - c.y}, d2{b.x - c.x, b.y - c.y};
    const float angle = std::atan2(d2.y, d2.x) - std::atan2(d1.y, d1.x);
    const float factor = std::hypot(d2.x, d2.y) / std::hypot(d1.x, d1.y);
    AffineTransform t;
    t.translateXBy(c.x, c.y);
    t.rotateByRadians(angle);
    t.scaleBy(factor);
    t.translateXBy(-c.x, -c.y);
    return t;
}

std::optional<AffineTransform> ArrowTool::liveTransform() const {
    if (_drag_mode == RotateScale) return transformFrom(_drag_origin, _drag_destination);
    if (_drag_mode == Move) {
        const Point a = world(_drag_destination), b = world(_drag_origin);
        return AffineTransform(AffineMatrix::makeTranslation(a.x - b.x, a.y - b.y));
    }
    return std::nullopt;
}

// ---- gestures ------------------------------------------------------------------

void ArrowTool::toolDownEvent(const ToolEvent& event, ToolView& view, Point p) {
    _view = &view;
    const Point w = world(p);
    const auto hit = _document.strokes().pickStrokeAtPoint(w);
    _drag_origin = _drag_destination = p;

    if (event.shiftDown()) {
        if (hit) {
            const auto it = std::find(_selection.begin(), _selection.end(), hit);
            if (it != _selection.end())
                _selection.erase(it);
            else
                _selection.push_back(hit);
            _drag_mode = Pending;
        } else {
            _drag_mode = RubberBand;
        }
    } else if (!_selection.empty() && pointInRect(w, selectionBounds())) {
        _drag_mode = event.commandDown() ? RotateScale : Move;
    } else if (!event.commandDown()) {
        if (hit) {
            if (!isSelected(hit.get())) setSelection({hit});
            _drag_mode = Move;
        } else {
            clearSelection();
            _drag_mode = RubberBand;
        }
    } else {
        if (hit && !isSelected(hit.get())) _selection.push_back(hit);
        _drag_mode = _selection.empty() ? Pending : RotateScale;
    }
    if (_drag_mode == RotateScale) _drag_center = centreOf(selectionBounds());
    view.setNeedsDisplay();
}

void ArrowTool::toolMoveEvent(const ToolEvent& event, Point p) {
    _drag_destination = p;
    if (_drag_mode == Pending) {
        if (std::hypot(p.x - _drag_origin.x, p.y - _drag_origin.y) <= kDragThreshold) return;
        _drag_mode = event.commandDown() ? RotateScale : Move;
        if (event.commandDown()) _drag_center = centreOf(selectionBounds());
    }
    if (_view) _view->setNeedsDisplay();
}

void ArrowTool::toolUpEvent(const ToolEvent& event) {
    if (_drag_mode == Move || _drag_mode == RotateScale) {
        if (const auto t = liveTransform()) _document.transformStrokesInArray(_selection, *t);
    } else if (_drag_mode == RubberBand) {
        const Point o = _drag_origin, d = _drag_destination;
        float x0 = INFINITY, y0 = INFINITY, x1 = -INFINITY, y1 = -INFINITY;
        for (const Point corner : {o, d, Point{o.x, d.y}, Point{d.x, o.y}}) {
            const Point q = world(corner);
            x0 = std::min(x0, q.x), y0 = std::min(y0, q.y);
            x1 = std::max(x1, q.x), y1 = std::max(y1, q.y);
        }
        const Rect band{x0, y0, x1 - x0, y1 - y0};
        const Strokes& list = _document.strokes();
        const StrokeArray found =
            event.optionDown() ? list.strokesTouchingRect(band) : list.strokesEnclosedByRect(band);
        for (const auto& s : found)
            if (!isSelected(s.get())) _selection.push_back(s);
    }
    _drag_mode = Pending;
    if (_view) _view->setNeedsDisplay();
}

// ---- feedback ------------------------------------------------------------------

void ArrowTool::toolDrawInView(ToolView& view) {
    QPainter* painter = view.overlayPainter();
    VimoCanvas* canvas = view.canvas();
    if (!painter || !canvas) return;
    _view = &view;
    const auto live = liveTransform();
    const AffineMatrix toView = canvas->transform();
    const AffineMatrix m = live ? live->transformStruct().concat(toView) : toView;

    int elements = 0;
    for (const auto& s : _selection)
        if (s->bezierPath()) elements += s->bezierPath()->elementCount();
    if (_selection.size() < kMaxHighlightedStrokes && elements <= kMaxHighlightedElements) {
        for (const auto& s : _selection) {
            if (!s->bezierPath()) continue;
            const Color c = s->color().value_or(Color::black());
            const float r = c.redComponent(), g = c.greenComponent(), b = c.blueComponent();
            const QColor highlight =
                (b > 2 * r && b > 2 * g) ? ToolFeedback::kLightRed : ToolFeedback::kLightBlue;
            const QPainterPath path = painterPath(*s->bezierPath(), m);
            if (s->drawAsStroke()) {
                QPen pen(highlight, double(s->lineWidth() * view.scale()));
                pen.setCapStyle(Qt::RoundCap);
                pen.setJoinStyle(Qt::RoundJoin);
                painter->strokePath(path, pen);
            } else {
                painter->fillPath(path, highlight);
            }
        }
    }

    if (!_selection.empty()) {
        BezierPath box;
        box.appendBezierPathWithRect(selectionBounds());
        const QPainterPath path = painterPath(box, m);
        painter->strokePath(path, ToolFeedback::dashedPen());
        if (_selection.size() >= kMaxHighlightedStrokes)
            painter->fillPath(path, ToolFeedback::kBoxColor);
    }

    if (_drag_mode == RubberBand) {
        const Point o = _drag_origin, d = _drag_destination;
        ToolFeedback::drawBand(*painter, {std::min(o.x, d.x), std::min(o.y, d.y),
                                          std::abs(o.x - d.x), std::abs(o.y - d.y)});
    }
}
