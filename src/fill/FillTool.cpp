#include "fill/FillTool.h"

#include "fill/BitmapFill.h"
#include "fill/OutlineSimplifier.h"
#include "model/BezierPath.h"
#include "model/Stroke.h"
#include "model/VimoCanvas.h"
#include "raster/Bitmap.h"
#include "tools/ToolDocument.h"
#include "tools/ToolView.h"

#include <algorithm>
#include <cmath>
#include <vector>

FillTool::FillTool(ToolDocument& document)
    : _document(document), _fill_cursor(Tool::loadCursor("fill_cursor", {14, 14})),
      _color_picker_cursor(Tool::loadCursor("color_picker_cursor", {0, 15})) {}

void FillTool::toolFlagsChanged(const ToolEvent& event) {
    _option_down = event.optionDown();
    _document.refreshCursor();
}

ToolCursor FillTool::toolCursor() const {
    return _option_down ? _color_picker_cursor : _fill_cursor;
}

void FillTool::toolDownEvent(const ToolEvent& event, ToolView& view, Point at) {
    _option_down = event.optionDown();
    if (_option_down) {
        _document.setToolColor(Tool::pickColor(view, at));
        return;
    }
    fillAt(view, at);
}

namespace {

// Appends a traced polygon as a closed subpath in world coordinates.
void appendOutline(BezierPath& path, const std::vector<Point>& points, const VimoCanvas& canvas) {
    if (points.empty()) return;
    path.moveToPoint(canvas.bitmapPointToWorldPoint(points.front()));
    for (std::size_t i = 1; i < points.size(); ++i)
        path.lineToPoint(canvas.bitmapPointToWorldPoint(points[i]));
    path.closePath();
}

// Truncates toward zero and clamps into [0, limit - 1] (0 for NaN).
int clampedIndex(float v, int limit) {
    if (!(v > 0)) return 0;
    if (v >= float(limit)) return std::max(limit - 1, 0);
    return static_cast<int>(v);
}

} // namespace

void FillTool::fillAt(ToolView& view, Point p) {
    VimoCanvas* canvas = view.canvas();
    if (!canvas || canvas->strokeBitmap().width() == 0 || canvas->strokeBitmap().height() == 0)
        return;
    Bitmap& maskBitmap = canvas->strokeBitmap();
    BitmapFill mask(maskBitmap);
    const Size size = maskBitmap.size();

    Rect r = mask.floodFill(canvas->drawBitmap(), p, RED, _tolerance);

    // Grow the filled area's box by the expansion, kept inside the bitmap.
    const float e = float(_expand);
    r.x -= e, r.y -= e, r.width += 2 * e, r.height += 2 * e;
    r.x = std::max(r.x, 0.0f);
    r.y = std::max(r.y, 0.0f);
    r.width = std::min(r.width, size.width - r.x);
    r.height = std::min(r.height, size.height - r.y);
    for (int i = 0; i < _expand; ++i) mask.expand(r, RED);

    std::vector<Point> holes;
    mask.findHolesInRect(r, holes);

    // The outer outline starts at the lowest red pixel of the click's column
    // at or below the click (the click's own row when there is none).
    const int x = clampedIndex(p.x, maskBitmap.width());
    const int clickRow = clampedIndex(p.y, maskBitmap.height());
    int startRow = clickRow;
    for (int y = clickRow; y >= 0; --y)
        if (maskBitmap.at(x, y) == RED) startRow = y;

    auto path = std::make_shared<BezierPath>();
    std::vector<Point> points;
    mask.clockwiseOutlineFrom(Point{float(x), float(startRow)}, points);
    OutlineSimplifier::simplifyPointsOnOutside(points);
    appendOutline(*path, points, *canvas);
    for (const Point& hole : holes) {
        points.clear();
        mask.clockwiseOutlineFrom(hole, points);
        OutlineSimplifier::simplifyPointsOnOutside(points);
        appendOutline(*path, points, *canvas);
    }
    path->setWindingRule(EvenOddWindingRule);

    maskBitmap.fillRect(r, TRANSPARENT);

    _document.addStroke(Stroke::initWithBezierPath(path, _color, _mode, _opacity));
    view.setNeedsDisplayInRect(r);
}
