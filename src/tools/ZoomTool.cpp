#include "tools/ZoomTool.h"

#include "tools/ToolDocument.h"
#include "tools/ToolFeedback.h"
#include "tools/ToolView.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

// A band smaller than this either way is a click.
constexpr float kMinimumBand = 4.0f;
constexpr float kInFactor = 2.0f, kOutFactor = 0.5f;

Rect grown(const Rect& r, float by) {
    return {r.x - by, r.y - by, r.width + 2 * by, r.height + 2 * by};
}

Rect unite(const Rect& a, const Rect& b) {
    const float x0 = std::min(a.x, b.x), y0 = std::min(a.y, b.y);
    const float x1 = std::max(a.x + a.width, b.x + b.width);
    const float y1 = std::max(a.y + a.height, b.y + b.height);
    return {x0, y0, x1 - x0, y1 - y0};
}

bool isBand(const Rect& r) {
    return r.width >= kMinimumBand && r.height >= kMinimumBand;
}

} // namespace

ZoomTool::ZoomTool(ToolDocument& document)
    : _zoom_cursor(loadCursor("zoom_cursor", {6, 6})),
      _zoom_in_cursor(loadCursor("zoom_in_cursor", {6, 6})),
      _zoom_out_cursor(loadCursor("zoom_out_cursor", {6, 6})), _document(document) {}

void ZoomTool::toolDownEvent(const ToolEvent&, ToolView& view, Point p) {
    _zoom_down = true;
    _view = &view;
    _zoom_first = _zoom_last = p;
    _range_rect = {p.x, p.y, 0, 0};
    _zoom_first_set = true;
}

void ZoomTool::toolMoveEvent(const ToolEvent&, Point p) {
    if (!_zoom_down) return;
    const Rect old = _range_rect;
    _zoom_last = p;
    _range_rect = {std::min(_zoom_first.x, p.x), std::min(_zoom_first.y, p.y),
                   std::abs(_zoom_first.x - p.x), std::abs(_zoom_first.y - p.y)};
    if (_view) _view->setNeedsDisplayInRect(grown(unite(old, _range_rect), 4));
    _document.refreshCursor();
}

void ZoomTool::toolUpEvent(const ToolEvent& event) {
    _zoom_down = false;
    if (_view) {
        _view->setNeedsDisplayInRect(grown(_range_rect, 4));
        if (isBand(_range_rect))
            _view->zoomToBitmapRect(_range_rect);
        else
            _view->zoomToPoint({_range_rect.x, _range_rect.y},
                               event.optionDown() ? kOutFactor : kInFactor);
    }
    _range_rect = {};
    after(_document);
}

void ZoomTool::toolFlagsChanged(const ToolEvent& event) {
    _option_down = event.optionDown();
    _document.refreshCursor();
}

ToolCursor ZoomTool::toolCursor() const {
    // With option a click zooms out, but a band always zooms in.
    return _option_down && !isBand(_range_rect) ? _zoom_out_cursor : _zoom_in_cursor;
}

void ZoomTool::toolDrawInView(ToolView& view) {
    if (!_zoom_down) return;
    if (QPainter* painter = view.overlayPainter()) ToolFeedback::drawBand(*painter, _range_rect);
}
