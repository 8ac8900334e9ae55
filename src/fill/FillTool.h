#pragma once

#include "raster/Color.h"
#include "tools/Tool.h"

class ToolDocument;

// The fill tool: a click floods the clicked area of the drawing into a mask
// (the canvas's stroke bitmap), grows it, traces its outline and holes,
// simplifies the traced polygons and adds one even-odd path stroke with the
// tool's colour, transfer mode and opacity. With option held a click picks a
// colour instead.
class FillTool : public Tool {
public:
    explicit FillTool(ToolDocument& document);

    Color color() const { return _color; }
    void setColor(const Color& c) { _color = c; }
    float opacity() const { return _opacity; }
    void setOpacity(float o) { _opacity = o; }
    float tolerance() const { return _tolerance; }
    void setTolerance(float t) { _tolerance = t; }
    int expand() const { return _expand; }
    void setExpand(int e) { _expand = e; }
    int transferMode() const { return _mode; }
    void setTransferMode(int m) { _mode = m; }

    void toolActivate() override { _option_down = false; }
    void toolFlagsChanged(const ToolEvent& event) override;
    ToolCursor toolCursor() const override;
    void toolDownEvent(const ToolEvent& event, ToolView& view, Point at) override;

private:
    void fillAt(ToolView& view, Point p);

    ToolDocument& _document;
    ToolCursor _fill_cursor;
    ToolCursor _color_picker_cursor;
    bool _option_down = false;
    int _expand = 1;
    int _mode = 0;
    Color _color = Color::red();
    float _opacity = 1.0f;
    float _tolerance = 0.2f;
};
